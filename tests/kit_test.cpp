#include <common/kit/settings_reader.h>
#include <common/kit/timer_resolution.h>
#include <common/kit/trace.h>

#include <iomanip>

#include "support.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace Common::Test {
namespace {

using Kit::StandInLog;
using Kit::StandInSettings;
using Kit::Trace;
using Kit::TracedMeasurement;

// ---- Trace.

struct KitTrace : testing::Test {
  // Measures one record that seems to have started `seconds` ago.
  void Measure(const std::string& name, std::uint64_t seconds) {
    const AccumulatorHandle handle = profiler->OpenAccumulator(name);
    const TracedMeasurement measurement(handle, trace);
    handle.records->front().started -= seconds * 1'000'000;
  }

  std::unique_ptr<SPerformanceProfiler> profiler{ManufacturePerformanceProfiler()};
  Trace trace{100, "main"};
};

TEST_F(KitTrace, SummarizesWhatTheRingHolds) {
  for (std::uint64_t seconds = 100; seconds > 0; --seconds) Measure("a", seconds);
  ASSERT_EQ(trace.Summarize().size(), 2U) << "phase and whole";
  for (const Trace::Line& line : trace.Summarize()) {
    EXPECT_EQ(line.count, 50U) << line.name;
    EXPECT_EQ(line.minimum / 1'000'000, 1U);
    EXPECT_EQ(line.median / 1'000'000, 25U);
    EXPECT_EQ(line.percentile99 / 1'000'000, 50U);
    EXPECT_EQ(line.maximum / 1'000'000, 50U);
  }
}

TEST_F(KitTrace, KeepsPhasesAndWholesInTheOrderInWhichTheyEnd) {
  {
    TracedMeasurement outer(profiler->OpenAccumulator("z"), trace);
    outer.GoOnTo("b");
    TracedMeasurement(profiler->OpenAccumulator("a"), trace).GoOnTo("a");
  }
  std::vector<std::string> names;
  std::map<std::string, Trace::Measurement> last;
  trace.ForEach([&](const Trace::Measurement& measured) {
    names.emplace_back(measured.name);
    last[names.back()] = measured;
  });
  EXPECT_EQ(names, (std::vector<std::string>{"z/z", "a/a", "a/a", "a", "z/b", "z"}));
  EXPECT_EQ(last["z"].started, last["z/z"].started);
  EXPECT_EQ(last["z"].duration, last["z/z"].duration + last["z/b"].duration);
  std::vector<std::string> lines;
  for (const Trace::Line& line : trace.Summarize()) lines.push_back(line.name);
  EXPECT_EQ(lines, (std::vector<std::string>{"z/z", "a/a", "a", "z/b", "z"}));
}

TEST_F(KitTrace, WritesEachRingAsAThreadWhateverNamesHoldAndTheStreamDoes) {
  Measure("\"\\\n\xFF\u00E4\xED\xA0\x80", 1);
  Trace second(2, "worker");
  TracedMeasurement(profiler->OpenAccumulator("a"), second).GoOnTo("b");
  GroupDigits();
  std::ostringstream out;
  out << std::hex << std::setw(40);
  Trace::WriteJson(out, {&trace, &second});
  const std::string name = R"(\"\\\n)"
                           "\uFFFD\u00E4\uFFFD\uFFFD\uFFFD";
  const std::string json =
      std::regex_replace(out.str(), std::regex(":\\d+,\"(dur|pid)"), ":#,\"$1");
  EXPECT_EQ(json, R"({"displayTimeUnit":"ms","traceEvents":[
{"name":"thread_name","ph":"M","args":{"name":"main"},"pid":1,"tid":1},
{"name":")" + name + "/" +
                      name + R"(","cat":")" + name + R"(","ph":"X","ts":#,"dur":#,"pid":1,"tid":1},
{"name":")" + name + R"(","cat":")" +
                      name + R"(","ph":"X","ts":#,"dur":#,"pid":1,"tid":1},
{"name":"thread_name","ph":"M","args":{"name":"worker"},"pid":1,"tid":2},
{"name":"a/b","cat":"a","ph":"X","ts":#,"dur":#,"pid":1,"tid":2},
{"name":"a","cat":"a","ph":"X","ts":#,"dur":#,"pid":1,"tid":2}
]}
)");
}

// ---- Settings.

struct KitSettings : testing::Test {
  // What a reader makes of the text, in the order of int, float, switch, choice; fallbacks are 7,
  // 0.5, on and "high".
  std::string Read(const std::string& text) {
    settings.entries = {{"i", text}, {"f", text}, {"s", text}, {"c", text}};
    std::ostringstream read;
    read.imbue(std::locale::classic());
    read << reader.ReadInt("i", 7, 0, 100) << ' ' << reader.ReadFloat("f", 0.5, -1.0, 1e9) << ' '
         << reader.ReadSwitch("s", true) << ' ' << reader.ReadChoice("c", "high", {"low", "high"});
    return read.str();
  }

  std::vector<std::string> Warnings() const { return log.TextsOf(StandInLog::Kind::Warning); }

  StandInSettings settings;
  StandInLog log;
  Kit::SettingsReader reader{settings, log};
};

TEST_F(KitSettings, ReadWhatMakesSense) {
  EXPECT_EQ(Read("1"), "1 1 1 high");
  EXPECT_EQ(Read("-.5e-1"), "7 -0.05 1 high");
  EXPECT_EQ(Read("+0100"), "100 100 1 high");
  EXPECT_EQ(Read("FALSE"), "7 0.5 0 high");
  EXPECT_EQ(Read("low"), "7 0.5 1 low");
  EXPECT_EQ(Read("0"), "0 0 0 high") << "the lowest int";
  EXPECT_EQ(Read("-1"), "7 -1 1 high") << "the lowest float";
  EXPECT_EQ(Read("1000000000"), "7 1e+09 1 high") << "the highest float";
}

TEST_F(KitSettings, CountAsTheFallbackWhereTheyMakeNoSense) {
  for (const std::string text : {"", "1000000001", "-2", "1 ", "nan", "-inf", "0x1", "1e999", "1e",
                                 ".", "1,5", "Low", "onn"}) {
    EXPECT_EQ(Read(text), "7 0.5 1 high") << text;
    EXPECT_EQ(settings.entries.at("f"), text) << "stays for the user to fix";
  }
  EXPECT_EQ(reader.ReadText("f", "x"), "onn");
}

TEST_F(KitSettings, GetOneWarningThatSaysWhatWouldBeRight) {
  Read("wrong");
  Read("wrong");
  const std::vector<std::string> expected{
      "Setting 'i' is 'wrong', not a whole number from 0 to 100; using 7.",
      "Setting 'f' is 'wrong', not a number from -1 to 1000000000; using 0.5.",
      "Setting 's' is 'wrong', not on or off, yes or no, true or false, 1 or 0; using on.",
      "Setting 'c' is 'wrong', not one of 'low', 'high'; using 'high'."};
  EXPECT_EQ(Warnings(), expected);
  Read("another");
  EXPECT_EQ(Warnings().size(), 8U);
  reader.ReadInt("f", 0, 0, 1);
  reader.ReadInt("s", 1, 0, 1);
  EXPECT_EQ(Warnings().size(), 8U) << "of one text, by whichever operation";
}

TEST_F(KitSettings, AreListedAsTheyWereFirstAskedForAndOthersAsUnasked) {
  settings.entries = {{"z", "0.8"}, {"other", ""}};
  EXPECT_EQ(reader.ReadFloat("z", 0.5, 0.0, 1.0), 0.8);
  EXPECT_EQ(reader.ReadFloat("z", 0.8F, 0.0, 1.0), 0.8F);
  EXPECT_FALSE(reader.ReadSwitch("a", false));
  EXPECT_EQ(reader.ReadText("text", "t"), "t");
  const auto asked = reader.AskedSettings();
  ASSERT_EQ(asked.size(), 3U);
  EXPECT_EQ(asked[0].key + asked[1].key, "za");
  EXPECT_EQ(asked[0].fallback, "0.5");
  EXPECT_EQ(asked[0].highest, 1.0);
  EXPECT_EQ(asked[1].kind, Kit::SettingsReader::AskedSetting::Kind::Switch);
  EXPECT_EQ(reader.UnaskedKeys(settings.entries), std::vector<std::string>{"other"});
  reader.WriteSwitch("a", true);
  reader.WriteFloat("z", 0.1F);
  EXPECT_EQ(settings.entries.at("a") + settings.entries.at("z"), "on0.1");
}

TEST_F(KitSettings, AreAddedWhereTheyAreMissingAndReadBack) {
  GroupDigits();
  const double third = 1.0 / 3.0;
  for (int times = 0; times < 2; ++times) {
    EXPECT_EQ(reader.ReadInt("int", -1234, 0, 9), -1234) << "may stand outside the range";
    EXPECT_EQ(reader.ReadFloat("float", third, 0.0, 1.0), third);
    EXPECT_FALSE(reader.ReadSwitch("switch", false));
    EXPECT_EQ(reader.ReadChoice("choice", "none", {"some"}), "none");
  }
  EXPECT_EQ(settings.entries.at("switch"), "off");
  EXPECT_EQ(Warnings(), std::vector<std::string>());
}

// ---- Stand-ins.

TEST(KitStandIns, MoveTheClockByWaitsFillersAndOrigins) {
  Kit::StandInClock clock;
  clock.now = 0 - std::uint64_t{10};
  {
    const auto filler = clock.MakeTimeFiller(100);
    clock.Wait(30);
    EXPECT_EQ(clock.now, 20U);
  }
  EXPECT_EQ(clock.now, 90U);
  clock.Wait(std::uint64_t{1} << 63);
  EXPECT_EQ(clock.now, 90U) << "taken for passed";
  clock.SetOrigin(30);
  clock.SetOrigin(40);
  EXPECT_EQ(clock.now, 50U);
  {
    const auto filler = clock.MakeTimeFiller(10);
    clock.now = 5;
  }
  EXPECT_EQ(clock.now, 15U) << "a clock that is set back";
  const auto signal = clock.MakePeriodic(PeriodicKind::Square, 20, 0.25F);
  const float low = signal->GetValue();
  clock.now = 22;
  EXPECT_GT(signal->GetValue(), low);
  clock.now = 28;
  EXPECT_EQ(signal->GetValue(), low);
}

TEST(KitStandIns, SaveTheSettingsWhereTheyWereLoaded) {
  StandInSettings settings;
  settings.files["a.txt"] = "k = 1\n";
  settings.Load("a.txt");
  settings.SetString("k", "2");
  settings.Save();
  EXPECT_EQ(settings.files, (std::map<std::string, std::string>{{"a.txt", "k = 2\n"}}));
}

#ifdef _WIN32
TEST(KitTimerResolution, HoldsTheSystemsLibraryWhileItLives) {
  std::optional<Kit::ScopedTimerResolution> fineTimer(std::in_place);
  EXPECT_NE(GetModuleHandleA("winmm.dll"), nullptr);
  fineTimer.reset();
  EXPECT_EQ(GetModuleHandleA("winmm.dll"), nullptr);
}
#endif

}  // namespace
}  // namespace Common::Test

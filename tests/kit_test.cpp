#include <common/kit/settings_reader.h>
#include <common/kit/timer_resolution.h>
#include <common/kit/trace.h>

#include <iomanip>
#include <iostream>

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
using Names = std::vector<std::string>;

// ---- Trace.

struct KitTrace : testing::Test {
  // Opens an accumulator whose first record seems to have started `seconds` ago.
  AccumulatorHandle Open(const std::string& name, std::uint64_t seconds = 0) {
    const AccumulatorHandle handle = profiler->OpenAccumulator(name);
    handle.records->front().started -= seconds * 1'000'000;
    return handle;
  }

  std::unique_ptr<SPerformanceProfiler> profiler{ManufacturePerformanceProfiler()};
  Trace trace{100, "main"};
};

TEST_F(KitTrace, SummarizesWhatTheRingHolds) {
  for (std::uint64_t seconds = 100; seconds > 0; --seconds) {
    const TracedMeasurement measurement(Open("a", seconds), trace);
  }
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
    TracedMeasurement outer(Open("z", 9), trace);
    outer.GoOnTo("z");
    outer.GoOnTo("b");
    const TracedMeasurement inner(Open("a"), trace);
  }
  Names names;
  std::vector<Trace::Measurement> kept;
  trace.ForEach([&](const Trace::Measurement& measured) {
    names.emplace_back(measured.name);
    kept.push_back(measured);
  });
  ASSERT_EQ(names, (Names{"z/z", "z/z", "a/a", "a", "z/b", "z"}));
  EXPECT_EQ(kept[0].duration / 1'000'000, 9U);
  EXPECT_EQ(kept[1].started, kept[0].started + kept[0].duration) << "of a record after itself";
  EXPECT_EQ(kept[5].started, kept[0].started);
  EXPECT_EQ(kept[5].duration, kept[0].duration + kept[1].duration + kept[4].duration);
  Names lines;
  for (const Trace::Line& line : trace.Summarize()) lines.push_back(line.name);
  EXPECT_EQ(lines, (Names{"z/z", "a/a", "a", "z/b", "z"}));
}

TEST_F(KitTrace, WritesEachRingAsAThreadWhateverNamesHoldAndTheStreamDoes) {
  { const TracedMeasurement measurement(Open("\"\xFF"), trace); }
  Trace nameless(2), none(0);
  for (Trace* const ring : {&nameless, &none}) TracedMeasurement(Open("a"), *ring).GoOnTo("b");
  UseCommas();
  std::ostringstream out;
  out << std::hex << std::setw(40);
  Trace::WriteJson(out, {&trace, &nameless, &none});
  std::string json = std::regex_replace(out.str(), std::regex("\uFFFD"), "?");
  for (const Trace* const ring : {&trace, &nameless}) {
    ring->ForEach([&json](const Trace::Measurement& measured) {
      const std::string times = "\"ts\":" + std::to_string(measured.started) +
                                ",\"dur\":" + std::to_string(measured.duration);
      json.replace(json.find(times), times.size(), "TIMES");
    });
  }
  EXPECT_EQ(json, R"({"displayTimeUnit":"ms","traceEvents":[
{"name":"thread_name","ph":"M","args":{"name":"main"},"pid":1,"tid":1},
{"name":"\"?/\"?","cat":"\"?","ph":"X",TIMES,"pid":1,"tid":1},
{"name":"\"?","cat":"\"?","ph":"X",TIMES,"pid":1,"tid":1},
{"name":"a/b","cat":"a","ph":"X",TIMES,"pid":1,"tid":2},
{"name":"a","cat":"a","ph":"X",TIMES,"pid":1,"tid":2}
]}
)");
}

// ---- Settings. Other texts, bounds and fallbacks are for settings_reader_fuzz to test.

struct KitSettings : testing::Test {
  KitSettings() { UseCommas(); }

  // What a reader makes of the text, in the order of int, float, switch, choice; fallbacks are 7,
  // 0.5, on and "high".
  std::string Read(const std::string& text) {
    settings.entries = {{"i", text}, {"f", text}, {"s", text}, {"c", text}};
    std::ostringstream read;
    read.imbue(std::locale::classic());
    read << reader.ReadInt("i", 7, 0, 100) << ' ' << reader.ReadFloat("f", 0.5, -0.7F, 1e9) << ' '
         << reader.ReadSwitch("s", true) << ' ' << reader.ReadChoice("c", "high", {"low", "high"});
    return read.str();
  }

  Names Warnings() const { return log.TextsOf(StandInLog::Kind::Warning); }

  StandInSettings settings;
  StandInLog log;
  Kit::SettingsReader reader{settings, log};
};

TEST_F(KitSettings, ReadWhatMakesSenseUpToTheirBounds) {
  EXPECT_EQ(Read("1"), "1 1 1 high");
  EXPECT_EQ(Read("0"), "0 0 0 high");
  EXPECT_EQ(Read("-0.7"), "7 -0.7 1 high") << "the same float as the bound";
  EXPECT_EQ(Read("-.5e-1"), "7 -0.05 1 high");
  EXPECT_EQ(Read("1,5"), "7 0.5 1 high");
  EXPECT_EQ(Read("+0100"), "100 100 1 high");
  EXPECT_EQ(Read("1000000000"), "7 1e+09 1 high");
  EXPECT_EQ(Read("FALSE"), "7 0.5 0 high");
  EXPECT_EQ(Read("low"), "7 0.5 1 low");
}

TEST_F(KitSettings, GetOneWarningForEachWrongValueThatSaysWhatWouldBeRight) {
  Read("wrong");
  Read("wrong");
  EXPECT_EQ(
      Warnings(),
      (Names{"Setting 'i' is 'wrong', not a whole number from 0 to 100; using 7.",
             "Setting 'f' is 'wrong', not a number from -0.7 to 1000000000; using 0.5.",
             "Setting 's' is 'wrong', not on or off, yes or no, true or false, 1 or 0; using on.",
             "Setting 'c' is 'wrong', not one of 'low', 'high'; using 'high'."}));
  Read("worse");
  EXPECT_EQ(Warnings().size(), 8U);
}

TEST_F(KitSettings, AreAddedWhereTheyAreMissingAndReadBack) {
  for (int times = 0; times < 2; ++times) {
    EXPECT_EQ(reader.ReadInt("int", -1234, 0, 9), -1234) << "may stand outside the range";
    EXPECT_EQ(reader.ReadFloat("float", 0.8F, 0.0, 1.0), 0.8F);
    EXPECT_EQ(reader.ReadFloat("rare", 7.038531e-26F, 0.0, 1.0), 7.038531e-26F);
    EXPECT_FALSE(reader.ReadSwitch("switch", false));
    EXPECT_EQ(reader.ReadChoice("choice", "none", {"some"}), "none");
  }
  EXPECT_EQ(settings.entries.at("float") + settings.entries.at("switch"), "0.8off");
  reader.WriteFloat("float", 0.1F);
  reader.WriteSwitch("switch", true);
  EXPECT_EQ(settings.entries.at("float") + settings.entries.at("switch"), "0.1on");
  EXPECT_EQ(Warnings(), Names());
}

TEST_F(KitSettings, AreListedAsTheyWereFirstAsked) {
  Read("");
  reader.ReadText("b", "x");
  reader.ReadInt("i", 8, 1, 2);
  EXPECT_EQ(reader.UnaskedKeys({{"b", ""}, {"i", ""}, {"other", ""}}), Names{"other"});
  std::ostringstream list;
  list.imbue(std::locale::classic());
  for (const Kit::SettingsReader::AskedSetting& asked : reader.AskedSettings()) {
    list << asked.key << ' ' << static_cast<int>(asked.kind) << ' ' << asked.fallback << ' '
         << asked.lowest << ' ' << asked.highest;
    for (const std::string& choice : asked.choices) list << ' ' << choice;
    list << '\n';
  }
  EXPECT_EQ(list.str(),
            "i 1 7 0 100\nf 2 0.5 -0.7 1e+09\ns 3 on 0 0\nc 4 high 0 0 low high\nb 0 x 0 0\n");
}

// ---- Stand-ins.

TEST(KitStandInClock, MovesByWaitsAndFillersAndItsOrigin) {
  Kit::StandInClock clock;
  clock.now = 0 - std::uint64_t{10};
  {
    const auto filler = clock.MakeTimeFiller(100);
    clock.Wait(30);
    EXPECT_EQ(clock.now, 20U);
  }
  EXPECT_EQ(clock.now, 90U);
  clock.Wait(std::uint64_t{1} << 63);
  EXPECT_EQ(clock.now, 90U) << "so long a wait counts as passed";
  {
    const auto filler = clock.MakeTimeFiller(100);
    clock.SetOrigin(50);
    EXPECT_EQ(clock.now, 40U);
  }
  EXPECT_EQ(clock.now, 140U) << "no more than its length after the clock was set back";
  clock.SetOrigin(20);
  EXPECT_EQ(clock.now, 170U);
}

TEST(KitStandInClock, MakesSignalsAndChecksOfItsOwnReadings) {
  Kit::StandInClock clock;
  clock.now = 20;
  clock.step = 10;
  const auto signal = clock.MakePeriodic(PeriodicKind::Square, 100, 0.25F);
  EXPECT_EQ(signal->GetValue(), 1.0F);
  EXPECT_EQ(signal->GetValue(), 0.0F);
  EXPECT_EQ(clock.now, 40U);
  EXPECT_EQ(clock.readings, 2);
  const Capture console(std::cout);
  clock.RunTimingCheck();
  EXPECT_NE(console.Text().find("30010us : 0.03001s\n"), std::string::npos);
}

TEST(KitStandInSettings, LoadAndSaveFilesInMemory) {
  StandInSettings settings;
  settings.entries = {{"a", "0"}, {"b", "2"}};
  settings.files["user.txt"] = "a = 1\n";
  EXPECT_TRUE(settings.Load("user.txt"));
  EXPECT_TRUE(settings.Remove("b")) << "which no file holds";
  EXPECT_FALSE(settings.Remove("b"));
  EXPECT_EQ(settings.GetInt("c", 3), 3);
  settings.SetInt("c", 4);
  settings.Save();
  EXPECT_EQ(settings.files["user.txt"], "a = 1\nc = 4\n");
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

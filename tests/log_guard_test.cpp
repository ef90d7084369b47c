#include <common/message_log.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <set>
#include <tuple>
#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#endif

#include "support.h"

namespace Common::Test {
namespace {

namespace fs = std::filesystem;

const std::string GuardName = "guard";

struct LogGuard : testing::Test {
  void Start() { log.reset(Log::ManufactureMessageLog()); }
  bool Guard() { return log->SetGuardFile(GuardName); }
  void StartWithGuard() {
    Start();
    ASSERT_TRUE(Guard());
  }
  void Add(const std::string& text) { log->LogMessage(text); }
  void End() { log.reset(); }

  // A host that ends without destructors. On Windows each is a new process, which comes here
  // through what stands before it in the test.
  static void Die(const std::function<void()>& life) {
    EXPECT_EXIT((life(), std::_Exit(0)), testing::ExitedWithCode(0), "");
  }

  std::unique_ptr<Log::SMessageLog> log;
};

// The archived logs, oldest first.
std::vector<std::string> Archives() {
  if (!fs::exists("old_logs")) return {};
  std::set<fs::path> files;
  for (const auto& file : fs::directory_iterator("old_logs")) files.insert(file.path());
  std::vector<std::string> texts;
  for (const fs::path& file : files) texts.push_back(LogText(file));
  return texts;
}

using Texts = std::vector<std::string>;

TEST_F(LogGuard, CompletesTheLogsOfRunsThatDied) {
  for (int run = 0; run < 2; ++run) {
    Die([this] {
      StartWithGuard();
      Add("two\nlines");
    });
    WriteBytes(LogName, "");  // it has just been opened
  }
  StartWithGuard();
  EXPECT_EQ(Archives(), Texts(2, OnDisk(LogHeader + "T two\nlines\n")));
  End();
  EXPECT_EQ(LogText(LogName), OnDisk(LogHeader));
  EXPECT_FALSE(fs::exists(GuardName));
}

// A host's conversion, which fails on every byte that a stream reads.
struct Unreadable : std::codecvt<char, char, std::mbstate_t> {
  bool do_always_noconv() const noexcept override { return false; }
  result do_in(std::mbstate_t&, const char*, const char*, const char*&, char*, char*,
               char*&) const override {
    return error;
  }
};

// The next start after a kill, and how much of the batch that was being written is in the file.
struct CutBatch : LogGuard, testing::WithParamInterface<std::tuple<std::string, std::size_t>> {};

TEST_P(CutBatch, IsCompletedWhereItBegan) {
  const auto [next, cut] = GetParam();
  const bool isHostsFile = next == "host's file";
  const fs::path target = isHostsFile ? "host.txt" : LogName;
  Die([&] {
    StartWithGuard();
    log->SetLogFile(target.string());
    log->Flush();
    Add("first");
    Add("last");
    fs::copy_file(GuardName, "before");
    log->Flush();
  });
  const std::size_t before = OnDisk(LogHeader).size() + 4 * 20;  // four stamps
  std::error_code isMoved;
  fs::resize_file(target, std::min<std::size_t>(before + cut, fs::file_size(target, isMoved)),
                  isMoved);
  WriteBytes(GuardName, ReadBytes("before"));
  if (next == "unguarded start") Die([this] { Start(); });
  std::locale::global(std::locale(std::locale::classic(), new Unreadable));
  StartWithGuard();
  std::locale::global(std::locale::classic());
  const bool isApart = next != "guarded start" && cut == 0;
  const std::string whole = OnDisk(LogHeader + "T first\nT last\n");
  EXPECT_EQ(isHostsFile ? LogText(target) : Archives().front(),
            isApart ? OnDisk(LogHeader) : whole);
  if (isApart) {
    EXPECT_EQ(Archives().back(), OnDisk("T first\nT last\n"));
  }
}

INSTANTIATE_TEST_SUITE_P(, CutBatch,
                         testing::Combine(testing::Values("guarded start", "unguarded start",
                                                          "host's file"),
                                          testing::Values(0, 1, 28, 29, 40, 100)));

TEST_F(LogGuard, WritesAnArchiveOfItsOwnForLinesOfANewFile) {
  Die([this] {
    StartWithGuard();
    log->Flush();
    log->SetLogFile("host.txt");
    Add("lost");
  });
  StartWithGuard();
  EXPECT_EQ(Archives(), (Texts{OnDisk(LogHeader), OnDisk("T lost\n")}));
}

TEST_F(LogGuard, WritesAnArchiveOfItsOwnWhereTheArchivedLogIsAnothers) {
  Die([this] {
    StartWithGuard();
    Add("lost");
  });
  Die([this] {
    Start();
    End();  // a header of the same second
  });
  StartWithGuard();
  EXPECT_EQ(Archives(), (Texts{OnDisk(LogHeader), OnDisk(LogHeader + "T lost\n")}));
}

TEST_F(LogGuard, ForgetsWhatTheLogDrops) {
  Die([this] {
    std::cout.rdbuf(nullptr);
    StartWithGuard();
    log->SetLogFile("no/folder.txt");
    log->SetLiveOutput(true);
    for (int line = 3; line < 500; ++line) Add("dropped");
    Add("kept");
    log->Flush();
  });
  StartWithGuard();
  EXPECT_EQ(Archives(), Texts{OnDisk("T kept\n")});
}

TEST_F(LogGuard, GrowsWithTheLines) {
  const std::string text(1'000, 'x');
  Die([&] {
    StartWithGuard();
    for (int line = 0; line < 2'000; ++line) Add(text);
  });
  StartWithGuard();
  std::string all = LogHeader;
  for (int line = 0; line < 2'000; ++line) all += "T " + text + '\n';
  EXPECT_TRUE(Archives() == Texts{OnDisk(all)});
}

TEST_F(LogGuard, MovesToAnotherFileAndEndsWithAnEmptyName) {
  Die([this] {
    StartWithGuard();
    Add("moved");
    if (!Guard() || !log->SetGuardFile("h\u00E4fen") || fs::exists(GuardName)) std::_Exit(1);
  });
  Start();
  EXPECT_TRUE(log->SetGuardFile("h\u00E4fen"));
  EXPECT_EQ(Archives(), Texts{OnDisk(LogHeader + "T moved\n")});
  EXPECT_TRUE(fs::exists(u8"h\u00E4fen"));
  EXPECT_TRUE(log->SetGuardFile(""));
  EXPECT_FALSE(fs::exists(u8"h\u00E4fen"));
}

TEST_F(LogGuard, BelongsToOneProcess) {
  StartWithGuard();
  Die([this] {
    Add("of the child");
    if (Guard()) std::_Exit(1);
  });
  Add("of the parent");
  const std::string guarded = ReadBytes(GuardName);
  EXPECT_NE(guarded.find("of the parent"), std::string::npos);
  EXPECT_EQ(guarded.find("of the child"), std::string::npos);
  End();
  Die([] {});
}

TEST_F(LogGuard, TouchesNoOtherFile) {
  StartWithGuard();
  const std::string damaged = ReadBytes(GuardName).substr(0, 500);
  std::string newer = damaged;
  newer.at(newer.find('1')) = '2';
  const Texts foreign = {"a", std::string(10'000, 'x'), newer};
  for (const std::string& bytes : foreign) {
    WriteBytes("other", bytes);
    EXPECT_FALSE(log->SetGuardFile("other"));
    EXPECT_EQ(ReadBytes("other"), bytes);
  }
  fs::create_directory("folder");
  for (const std::string& name :
       {std::string("folder"), std::string("no/folder"), std::string("nul\0", 4), LogName}) {
    EXPECT_FALSE(log->SetGuardFile(name)) << name;
  }
  EXPECT_FALSE(fs::exists(LogName));
#ifndef _WIN32
  fs::create_symlink("elsewhere", "link");
  EXPECT_FALSE(log->SetGuardFile("link"));
  EXPECT_FALSE(fs::exists("elsewhere"));
#endif
  WriteBytes("other", damaged);
  EXPECT_TRUE(log->SetGuardFile("other")) << "a guard file that holds no lines any more";
  EXPECT_FALSE(fs::exists("old_logs"));
}

#ifndef _WIN32
TEST_F(LogGuard, IsFreeWhereAChildOutlivesItsProcess) {
#ifdef UNDER_QEMU
  GTEST_SKIP() << "QEMU leaves mappings to children that are to be kept from them";
#endif
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  const pid_t host = fork();
  if (host == 0) {
    setpgid(0, 0);
    StartWithGuard();
    if (fork() == 0 && write(pipe[1], "!", 1) == 1) pause();
    std::_Exit(0);
  }
  char childLives = 0;
  EXPECT_EQ(read(pipe[0], &childLives, 1), 1);
  waitpid(host, nullptr, 0);
  StartWithGuard();
  kill(-host, SIGKILL);
}

TEST_F(LogGuard, KeepsTheFirstLinesWhereItCannotGrow) {
  const std::string text(1'000, 'x');
  Die([&] {
    StartWithGuard();
    LimitFiles(300'000);
    for (int line = 0; line < 1'000; ++line) Add(text);
    if (log->SetGuardFile("other")) std::_Exit(1);
    LimitFiles(RLIM_INFINITY);
    Add("behind a gap");
    if (ReadBytes(GuardName).find("behind") != std::string::npos || !log->Flush()) std::_Exit(1);
    Add("guarded again");
  });
  const std::string kept = ReadBytes(LogName);
  EXPECT_EQ(std::count(kept.begin(), kept.end(), '\n'), 1'004);
  StartWithGuard();
  EXPECT_TRUE(Archives().front().ends_with("\nT behind a gap\nT guarded again\n"));
}

TEST_F(LogGuard, IsCompletedLaterWhereTheDiskIsFull) {
  Die([this] {
    StartWithGuard();
    for (int line = 0; line < 1'000; ++line) Add(std::string(1'000, 'x'));
    log->Flush();
    Add("first");
    Add("last");
  });
  const std::string before = ReadBytes(LogName);
  Die([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    LimitFiles(before.size() + 10);
    Start();
    if (Guard()) std::_Exit(1);
  });
  StartWithGuard();
  EXPECT_TRUE(Archives() == Texts{WithoutTimes(before) + "T first\nT last\n"});
}

TEST_F(LogGuard, AddsNothingToALogThatCannotBeMoved) {
  Die([this] {
    StartWithGuard();
    log->Flush();
    Add("kept");
    fs::copy_file(GuardName, "before");
    log->Flush();
  });
  fs::rename("before", GuardName);
  fs::resize_file(LogName, fs::file_size(LogName) - 3);  // in the middle of the line
  fs::create_directory_symlink("/proc", "old_logs");     // into which nothing can be moved
  const std::string before = ReadBytes(LogName);
  Start();
  EXPECT_FALSE(Guard());
  EXPECT_EQ(ReadBytes(LogName), before);
  fs::remove("old_logs");
  EXPECT_TRUE(Guard());
  EXPECT_EQ(Archives(), Texts{"T kept\n"});
  EXPECT_EQ(ReadBytes(LogName), before);
}
#endif

}  // namespace
}  // namespace Common::Test

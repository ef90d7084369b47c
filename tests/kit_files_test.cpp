#include <common/config_file.h>
#include <common/content_paths.h>
#include <common/kit/folders.h>
#include <common/kit/old_logs.h>
#include <common/kit/report.h>
#include <common/kit/settings_save.h>

#include <chrono>
#include <set>

#include "support.h"

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#endif

namespace Common::Test {
namespace {

namespace fs = std::filesystem;

std::set<std::string> NamesIn(const fs::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

// ---- Folders.

TEST(KitFolders, AreMadeWhereTheyAreMissingAndMadeCurrent) {
  const fs::path start = fs::current_path();
  const std::string name = "saved/h\u00E4fen";
  WriteBytes(start / Vorn::PathFromUtf8(name) / "content/config/config.txt", "kept = 1");
  Kit::PrepareFolders(name);
  EXPECT_EQ(fs::current_path(), start / "saved" / u8"h\u00E4fen");
  EXPECT_EQ(ReadBytes("content/config/config.txt"), "kept = 1");
  EXPECT_TRUE(fs::is_directory("content/ut_result"));
}

TEST(KitFolders, ThatCannotBeAreNamedAndLeaveTheCurrentFolderAsItIs) {
  const fs::path start = fs::current_path();
  WriteBytes("half/content", "");
  for (const std::string& name :
       {std::string("half/content"), std::string("half"), std::string(), std::string("a\0b", 3)}) {
    try {
      Kit::PrepareFolders(name);
      ADD_FAILURE() << name;
    } catch (const fs::filesystem_error& failure) {
      EXPECT_EQ(failure.path1().native().find(Vorn::PathFromUtf8(name).native()), 0U) << name;
    }
  }
  EXPECT_EQ(fs::current_path(), start);
  EXPECT_FALSE(fs::exists("a") || fs::exists("content"));
}

// ---- A report of several profilers.

struct KitReport : testing::Test {
  using Profiler = std::unique_ptr<SPerformanceProfiler>;

  static void Measure(const Profiler& profiler, const std::string& name,
                      const std::vector<MeasureRecord>& records) {
    *profiler->OpenAccumulator(name).records = records;
  }

  Profiler first{ManufacturePerformanceProfiler()};
  Profiler second{ManufacturePerformanceProfiler()};
  Profiler sums{ManufacturePerformanceProfiler()};
};

TEST_F(KitReport, AddsUpWhatHasOneNameInTheFormOfTheService) {
  Measure(first, "b", {{true, "b", 1, 10, 2, 3}, {true, "x", 1, 40, 5, 6}});
  Measure(second, "b",
          {{false, "b", 2, 100, 20, 30}, {true, "y", 2, 1, 1, 1}, {true, "x", 2, 400, 50, 60}});
  Measure(second, "a", {{true, "a", 2, 1'500'000, 0, 1}});
  Measure(sums, "a", {{true, "a", 0, 1'500'000, 0, 1}});
  Measure(sums, "b",
          {{true, "b", 0, 110, 22, 33}, {true, "x", 0, 440, 55, 66}, {true, "y", 0, 1, 1, 1}});
  sums->WriteReport("expected.csv");
  Kit::WriteReport("h\u00E4fen.csv", {first.get(), second.get()});
  EXPECT_EQ(ReadBytes(u8"h\u00E4fen.csv"), ReadBytes("expected.csv"));
}

TEST_F(KitReport, FailsAsTheServiceDoesAndHasNoDefaultPath) {
  fs::create_directories(UtResultFolder);
  for (const std::string& path : {std::string(), UtResultFolder}) {
    EXPECT_EQ(FailureOf([&] { Kit::WriteReport(path, {}); }),
              "Failed to open file " + path + " for writing!");
  }
  EXPECT_TRUE(fs::is_empty(UtResultFolder));
}

// ---- Saving settings safely.

struct KitSaveSafely : testing::Test {
  KitSaveSafely() {
    fs::create_directory("place");
    store->SetString("name", "value");
    store->WriteFile(store->Entries(), "expected.txt");
  }

  bool Save(const std::string& path) { return Kit::SaveSafely(*store, path); }
  void ExpectSaved(const fs::path& path) { EXPECT_EQ(ReadBytes(path), ReadBytes("expected.txt")); }

  StoredLog log;
  const std::unique_ptr<Config::SConfigFile> store{ManufactureConfigFile()};
};

TEST_F(KitSaveSafely, WritesANewFileOrReplacesAnOldOne) {
  for (const std::string& old : {std::string(), std::string(100'000, 'x')}) {
    if (!old.empty()) WriteBytes(u8"place/gr\u00FCn.txt", old);
    EXPECT_TRUE(Save("place/gr\xC3\xBCn.txt"));
    ExpectSaved(u8"place/gr\u00FCn.txt");
    EXPECT_EQ(NamesIn("place").size(), 1U);
  }
  EXPECT_TRUE(Save("bare.txt"));
  ExpectSaved("bare.txt");
}

TEST_F(KitSaveSafely, LeavesWhatItCannotReplaceAndNothingBesideIt) {
  fs::create_directory("place/folder");
  WriteBytes("place/name", "kept");
  for (const std::string path : {"place/folder", "place/missing/file", "", "place/name/file"}) {
    EXPECT_FALSE(Save(path)) << path;
  }
  EXPECT_FALSE(Save(std::string("place/name\0more", 15)));
  EXPECT_EQ(NamesIn("place"), (std::set<std::string>{"folder", "name"}));
  EXPECT_EQ(ReadBytes("place/name"), "kept");
  EXPECT_EQ(log->lines.size(), 0U);
}

#ifndef _WIN32

TEST_F(KitSaveSafely, FollowsLinksAndKeepsPermissionsAndOwner) {
  WriteBytes("elsewhere/target", "old");
  [[maybe_unused]] const int onlyForRoot = chown("elsewhere/target", 1, 2);
  chmod("elsewhere/target", 04604);
  const auto statusOf = [](const char* path) {
    struct stat status {};
    stat(path, &status);
    return status;
  };
  const auto before = statusOf("elsewhere/target");
  fs::create_symlink("../elsewhere/target", "place/link");
  fs::create_symlink("link", "place/chain");
  EXPECT_TRUE(Save("place/chain"));
  ExpectSaved("elsewhere/target");
  EXPECT_EQ(NamesIn("elsewhere").size(), 1U);
  EXPECT_TRUE(fs::is_symlink("place/chain") && fs::is_symlink("place/link"));
  const auto after = statusOf("elsewhere/target");
  EXPECT_NE(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_mode, before.st_mode);
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);

  fs::create_symlink("../elsewhere/new", "place/early");
  EXPECT_TRUE(Save("place/early"));
  ExpectSaved("elsewhere/new");
  EXPECT_EQ(statusOf("elsewhere/new").st_mode, statusOf("expected.txt").st_mode);
}

TEST_F(KitSaveSafely, RefusesWhatIsNoFileAndEndlessLinksAndAFullDisk) {
  fs::create_symlink("round", "place/round");
  fs::create_symlink("pipe", "place/link");
  mkfifo("place/pipe", 0600);
  for (const char* name : {"round", "link", "pipe"}) {
    EXPECT_FALSE(Save(std::string("place/") + name)) << name;
  }
  EXPECT_TRUE(fs::is_fifo("place/pipe"));
  WriteBytes("place/settings", "kept");
  store->SetString("long", std::string(100'000, 'x'));
  std::signal(SIGXFSZ, SIG_IGN);
  LimitFiles(50'000);
  EXPECT_FALSE(Save("place/settings"));
  LimitFiles(RLIM_INFINITY);
  EXPECT_EQ(ReadBytes("place/settings"), "kept");
  EXPECT_EQ(NamesIn("place"), (std::set<std::string>{"link", "pipe", "round", "settings"}));
}

#endif

// ---- Pruning old logs.

struct KitOldLogs : testing::Test {
  static void Archive(const std::string& name, int hoursAgo) {
    WriteBytes("old_logs/" + name, "a log");
    fs::last_write_time("old_logs/" + name,
                        fs::file_time_type::clock::now() - std::chrono::hours(hoursAgo));
  }
};

TEST_F(KitOldLogs, DeletesTheOldestByTheirNamesOrElseByTheirFiles) {
  const std::string inTwentyTwentyTwo = "017f22e2-79b0-7cc3-98c4-dc0c0c07398f.txt";
  const std::string aLittleEarlier = "017f22e2-79b0-7cc2-ffff-dc0c0c07398f.txt";
  const std::string yesterdays = "9b2f3b52-5d3a-4a6e-8f44-0a2d36c1fb01.txt";
  const std::string olderThanThat = "00000000-5d3a-4a6e-8f44-0a2d36c1fb01.txt";
  const std::string fromTheStone = "ffffffff-5d3a-4a6e-8f44-0a2d36c1fb01.txt";
  Archive(inTwentyTwentyTwo, 0);
  Archive(aLittleEarlier, -1);
  Archive(yesterdays, 24);
  Archive(olderThanThat, 48);
  Archive(fromTheStone, 24 * 365 * 20);
  EXPECT_EQ(Kit::PruneOldLogs(5), 0U);
  EXPECT_EQ(Kit::PruneOldLogs(3), 2U);
  EXPECT_EQ(NamesIn("old_logs"),
            (std::set<std::string>{inTwentyTwentyTwo, yesterdays, olderThanThat}));
  EXPECT_EQ(Kit::PruneOldLogs(1), 2U);
  EXPECT_EQ(NamesIn("old_logs"), std::set<std::string>{yesterdays});
}

TEST_F(KitOldLogs, TouchesNothingButArchives) {
  EXPECT_EQ(Kit::PruneOldLogs(0), 0U) << "no folder";
  const std::string guid = "017f22e2-79b0-7cc3-98c4-dc0c0c07398f";
  std::set<std::string> others{"zeb_log.txt",
                               "." + guid + ".txt",
                               guid + ".txt.bak",
                               guid,
                               "A17F22E2-79B0-7CC3-98C4-DC0C0C07398F.txt",
                               "017f22e2079b007cc3098c40dc0c0c07398f.txt"};
  for (const std::string& name : others) Archive(name, 1'000);
  fs::create_directory("old_logs/" + guid + ".txt");
#ifndef _WIN32
  const std::string link = "117f22e2-79b0-4cc3-98c4-dc0c0c07398f.txt";
  fs::create_symlink("zeb_log.txt", "old_logs/" + link);
  others.insert(link);
#endif
  others.insert(guid + ".txt");
  EXPECT_EQ(Kit::PruneOldLogs(0), 0U);
  EXPECT_EQ(NamesIn("old_logs"), others);
}

}  // namespace
}  // namespace Common::Test

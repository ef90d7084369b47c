#include <common/content_paths.h>
#include <common/kit/settings_watcher.h>

#include "support.h"

namespace Common::Test {
namespace {

using Kit::SettingsWatcher;
using Texts = std::vector<std::string>;

const std::string File = ConfigFolder + "/" + ConfigFileName;

struct KitSettingsWatcher : testing::Test {
  KitSettingsWatcher() {
    WriteBytes(File, "a = 1\nb = 2\n");
    store.reset(ManufactureConfigFile());
    watcher.emplace(*store, File);
  }

  // What a look reports, as "key: before -> after".
  Texts Look() {
    Texts texts;
    for (const SettingsWatcher::Change& change : watcher->Poll()) {
      texts.push_back(change.key + ": " + change.before + " -> " + change.after);
    }
    return texts;
  }
  Texts LookTwice() {
    EXPECT_EQ(Look(), Texts());
    return Look();
  }
  std::string Saved() {
    store->Save();
    return ReadBytes(File);
  }

  StoredLog log;
  std::unique_ptr<Config::SConfigFile> store;
  std::optional<SettingsWatcher> watcher;
};

TEST_F(KitSettingsWatcher, TakesOverWhatTwoLooksAgreeOn) {
  WriteBytes(File, "# mine\r\nc=3\r\nb = 9\r\n");
  EXPECT_EQ(LookTwice(), (Texts{"a: 1 -> ", "b: 2 -> 9", "c:  -> 3"}));
  EXPECT_EQ(Look(), Texts());
  EXPECT_EQ(ErrorsOf(log).size(), 1U) << "the bad line, once";
  EXPECT_EQ(Saved(), OnDisk("a = 1\nb = 9\nc = 3\n")) << "a deleted line stays in the store";
  EXPECT_EQ(LookTwice(), Texts());
}

TEST_F(KitSettingsWatcher, WaitsWhileTheFileIsHalfWrittenOrGone) {
  WriteBytes(File, "a = 7");
  EXPECT_EQ(Look(), Texts());
  WriteBytes(File, "a = 77\nb =");
  EXPECT_EQ(Look(), Texts());
  std::filesystem::remove(File);
  EXPECT_EQ(LookTwice(), Texts());
  WriteBytes("renamed", "a = 77\nb = 2\n");
  std::filesystem::rename("renamed", File);
  EXPECT_EQ(LookTwice(), Texts{"a: 1 -> 77"});
}

TEST_F(KitSettingsWatcher, NoticesAnEditThatNeitherSizeNorTimeTells) {
  const auto time = std::filesystem::last_write_time(File);
  WriteBytes(File, "a = 5\nb = 2\n");
  std::filesystem::last_write_time(File, time);
  EXPECT_EQ(LookTwice(), Texts{"a: 1 -> 5"});
}

TEST_F(KitSettingsWatcher, DoesNotTakeTheProgramsSavesForEdits) {
  store->SetString("a", "5");
  store->SetString("new", "6");
  store->Remove("b");
  store->Save();
  EXPECT_EQ(LookTwice(), Texts());
  store->SetString("a", "7");  // and again while the save is looked at
  store->Save();
  EXPECT_EQ(Look(), Texts());
  store->SetString("a", "8");
  EXPECT_EQ(Look(), Texts());
  EXPECT_EQ(store->FindString("a"), "8");
}

TEST_F(KitSettingsWatcher, LetsTheNewerOfAnEditAndAChangeWin) {
  store->SetString("a", "program");
  WriteBytes(File, "a = user\nb = user\n");
  EXPECT_EQ(Look(), Texts());
  store->SetString("b", "program");
  EXPECT_EQ(Look(), Texts{"a: program -> user"});
  EXPECT_EQ(Saved(), OnDisk("a = user\nb = program\n"));
}

TEST_F(KitSettingsWatcher, KeepsWhatItHasSeenThroughASave) {
  WriteBytes(File, "a = user\nb = half");
  EXPECT_EQ(Look(), Texts());
  store->Save();
  EXPECT_EQ(Look(), Texts{"a: 1 -> user"});
  EXPECT_EQ(Saved(), OnDisk("a = user\nb = 2\n"));
}

}  // namespace
}  // namespace Common::Test

#include <common/config_file.h>

#include "support.h"

namespace Common::Test {
namespace {

using Config::ConfigEntries;
using Config::SConfigFile;
using Errors = std::vector<std::string>;

const std::string MainFile = "content/config/config.txt";
const std::string UserFile = "content/config/user.txt";
const std::string MainFileError = "File '" + MainFile + "' write error.";

std::unique_ptr<SConfigFile> MakeStore() { return std::unique_ptr<SConfigFile>(ManufactureConfigFile()); }

TEST(ConfigFile, LaysTheUserFileOverTheMainFileAndSavesToTheLatter) {
  const StoredLog log;
  WriteBytes(MainFile, "# gone\r\nkept = 1\r\nsame = main\r\n");
  WriteBytes(UserFile, "same = user\nnew = 2");
  auto store = MakeStore();
  EXPECT_EQ(log->errors,
            Errors{"Syntax error reading configuration file: " + MainFile + " at line: 1 content: # gone."});
  store->SetString("set", "by program");
  EXPECT_EQ(store->GetString("same", ""), "user");
  EXPECT_NE(ReadBytes(MainFile).find("gone"), std::string::npos) << "nothing is written unasked";
  store->Save();
  EXPECT_EQ(ReadBytes(MainFile), OnDisk("kept = 1\nnew = 2\nsame = user\nset = by program\n"));
  EXPECT_EQ(ReadBytes(UserFile), "same = user\nnew = 2");
}

TEST(ConfigFile, AddsWhatIsAskedForAndSavesItAtItsEnd) {
  std::filesystem::create_directories("content/config");
  auto store = MakeStore();  // needs no log as long as there is nothing to report
  EXPECT_EQ(store->FindString("missing"), std::nullopt);
  EXPECT_EQ(store->GetString("asked", "first"), "first");
  EXPECT_EQ(store->GetString("asked", "second"), "first");
  store->SetString("empty", "");
  EXPECT_EQ(store->GetString("empty", "default"), "");
  EXPECT_EQ(store->GetInt("number", -7), -7);
  EXPECT_EQ(store->GetInt("number", 1), -7);
  EXPECT_FALSE(std::filesystem::exists(MainFile));
  store.reset();
  EXPECT_EQ(ReadBytes(MainFile), OnDisk("asked = first\nempty = \nnumber = -7\n"));
}

TEST(ConfigFile, LoadMovesTheTargetBeforeItReads) {
  const StoredLog log;
  WriteBytes(MainFile, "a = main\nb = main\n");
  WriteBytes("other.txt", "b = other\n");
  std::filesystem::create_directory("folder");
  auto store = MakeStore();
  EXPECT_TRUE(store->Load("other.txt"));
  store->Save();
  EXPECT_EQ(ReadBytes("other.txt"), OnDisk("a = main\nb = other\n"));

  EXPECT_EQ(FailureOf([&] { store->Load("folder"); }), "filesystem_error") << "there, but not to be read";
  store->Save();
  EXPECT_EQ(log->errors, Errors{"File 'folder' write error."});

  EXPECT_TRUE(store->Load("missing.txt"));
  const ConfigEntries apart{{"apart", "1"}};
  store->WriteFile(apart, "apart.txt");
  store.reset();
  EXPECT_EQ(ReadBytes("missing.txt"), OnDisk("a = main\nb = other\n"));
  EXPECT_EQ(ReadBytes(MainFile), "a = main\nb = main\n");
  EXPECT_EQ(ReadBytes("apart.txt"), OnDisk("apart = 1\n"));
}

TEST(ConfigFile, UnreadableFileEndsTheFactoryAndLosesNothing) {
  WriteBytes(MainFile, "a = main");
  std::filesystem::create_directory(UserFile);
  EXPECT_EQ(FailureOf(ManufactureConfigFile), "filesystem_error");
  EXPECT_EQ(ReadBytes(MainFile), "a = main");
  EXPECT_EQ(FailureOf(ManufactureConfigFile), "Multiple instances of SCOnfigFile");
}

TEST(ConfigFile, AsksForTheLogWhenAMessageIsDue) {
  auto store = MakeStore();
  store->SetString("a", "1");
  WriteBytes("bad.txt", "a = 2\nbad\n");
  EXPECT_EQ(FailureOf([&] { store->Save(); }), NoInstance);
  EXPECT_EQ(FailureOf([&] { store->ParseContent("bad", "name"); }), NoInstance);
  EXPECT_EQ(FailureOf([&] { store->Load("bad.txt"); }), NoInstance);
  EXPECT_EQ(store->FindString("a"), "1");
  {
    const StoredLog log;
    store->Load(MainFile);
    store->Save();
    const auto path = Vorn::SharedPath::NewWrapped("no/folder.txt");
    store->WriteFile({}, path);
    EXPECT_TRUE(store->ReadFile(path).empty());
    EXPECT_EQ(log->errors, (Errors{MainFileError, "File 'no/folder.txt' write error."}));
  }
  store.reset();  // cannot write and cannot say so
}

TEST(ConfigFile, ReportsAtItsEndThatItCannotSave) {
  const StoredLog log;
  MakeStore().reset();
  EXPECT_EQ(log->errors, Errors{MainFileError});
}

TEST(ConfigFile, TakesPathsInUtf8) {
  const StoredLog log;
  const std::string name =
      "h\xC3\xA4"
      "fen_\xE6\xB8\xAF.txt";
  const std::filesystem::path path(u8"h\u00E4fen_\u6E2F.txt");
  auto store = MakeStore();
  store->WriteFile({{"a.", "1"}, {"b", "2"}}, name);
  EXPECT_EQ(ReadBytes(path), OnDisk("a. = 1\nb = 2\n"));
  EXPECT_EQ(store->ReadFile(Vorn::SharedPath::NewWrapped(std::filesystem::path(path))), (ConfigEntries{{"b", "2"}}));
  EXPECT_EQ(log->errors, Errors{"Syntax error reading configuration file: " + name + " at line: 1 content: a. = 1."});
  store->Load(name);
  store.reset();
  EXPECT_EQ(ReadBytes(path), OnDisk("b = 2\n"));
}

}  // namespace
}  // namespace Common::Test

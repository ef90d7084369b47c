#include <common/config_file.h>

#include <clocale>
#include <cstdlib>

#include "support.h"

namespace Common::Test {
namespace {

namespace fs = std::filesystem;

using Config::ConfigEntries;
using Errors = std::vector<std::string>;

const std::string MainFile = "content/config/config.txt";
const std::string UserFile = "content/config/user.txt";

std::string BadLine(const std::string& name, const std::string& number, const std::string& line) {
  return "Syntax error reading configuration file: " + name + " at line: " + number +
         " content: " + line + ".";
}

// What a line may hold is for config_fuzz to test.
struct ConfigFile : testing::Test {
  void Start() { store.reset(ManufactureConfigFile()); }
  ConfigEntries Parse(const std::string& text) { return store->ParseContent(text, "name"); }

  StoredLog log;
  std::unique_ptr<Config::SConfigFile> store;
};

TEST_F(ConfigFile, UserFileWinsKeyByKeyAndTheMainFileGetsAll) {
  WriteBytes(MainFile, "# gone\r\nonly_main = 1\r\nboth = main\r\n");
  WriteBytes(UserFile, "both = user\nonly_user = 2");
  Start();
  EXPECT_EQ(ErrorsOf(log), Errors{BadLine(MainFile, "1", "# gone")});
  store->Save();
  EXPECT_EQ(ReadBytes(MainFile), OnDisk("both = user\nonly_main = 1\nonly_user = 2\n"));
  store->SetString("B", "at the end, in byte order");
  store.reset();
  EXPECT_EQ(ReadBytes(MainFile).find("B = at the end"), 0U);
  EXPECT_EQ(ReadBytes(UserFile), "both = user\nonly_user = 2");
}

TEST_F(ConfigFile, OnlyAReadThatNamesADefaultAddsAKey) {
  WriteBytes(MainFile, "empty =\n");
  Start();
  EXPECT_EQ(store->GetString("empty", "default"), "") << "a value as any other";
  EXPECT_EQ(store->FindString("empty"), "");
  EXPECT_EQ(store->GetString("text", "default"), "default");
  EXPECT_EQ(store->GetInt("number", -7), -7);
  EXPECT_EQ(store->FindString("missing"), std::nullopt);
  Parse("parsed = 1");
  store->WriteFile({{"written", "1"}}, "other.txt");
  EXPECT_EQ(store->ReadFile("other.txt"), (ConfigEntries{{"written", "1"}}));
  EXPECT_FALSE(store->Remove("written"));
  EXPECT_TRUE(store->Remove("empty"));
  store->Save();
  EXPECT_EQ(ReadBytes(MainFile), OnDisk("number = -7\ntext = default\n"));
}

TEST_F(ConfigFile, LoadKeepsOtherKeysAndMovesTheTarget) {
  WriteBytes(MainFile, "a = main\nb = main\n");
  WriteBytes(u8"h\u00E4fen.txt", "b = other\n");
  Start();
  for (const char* path : {"h\u00E4fen.txt", "missing \xFF.txt"}) {
    EXPECT_TRUE(store->Load(path));
    store->Save();
    EXPECT_EQ(ReadBytes(Vorn::PathFromUtf8(path)), OnDisk("a = main\nb = other\n"));
  }
  EXPECT_EQ(ReadBytes(MainFile), "a = main\nb = main\n");
}

TEST_F(ConfigFile, LoadThatThrowsMovesTheTargetToo) {
  WriteBytes(MainFile, "a = main\n");
  Start();
  EXPECT_EQ(FailureOf([&] { store->Load("content"); }), "filesystem_error");
  EXPECT_EQ(store->FindString("a"), "main");
  store.reset();
  EXPECT_EQ(ErrorsOf(log), Errors{"File 'content' write error."});
}

#ifndef _WIN32

TEST_F(ConfigFile, FailedFactoryLosesNothingAndCounts) {
  WriteBytes(MainFile, "a = main");
  fs::create_symlink("user.txt", UserFile);  // a loop
  EXPECT_EQ(FailureOf(ManufactureConfigFile), "filesystem_error");
  EXPECT_EQ(ReadBytes(MainFile), "a = main");
  EXPECT_EQ(FailureOf(ManufactureConfigFile), "Multiple instances of SCOnfigFile");
}

TEST_F(ConfigFile, FileThatMayBeThereIsNotReadAsEmpty) {
  Start();
  fs::create_symlink("loop", "loop");  // no answer, as from a folder that may not be searched
  EXPECT_EQ(FailureOf([&] { store->ReadFile("loop/file.txt"); }), "filesystem_error");
}

#endif

TEST_F(ConfigFile, MissesTheLogOnlyWhenAMessageIsDue) {
  Start();
  Parse("bad");
  log.Remove();
  EXPECT_EQ(Parse("good = 1"), (ConfigEntries{{"good", "1"}}));
  WriteBytes("bad.txt", "a = 1\nbad\n");
  EXPECT_EQ(FailureOf([&] { store->Load("bad.txt"); }), NoInstance);
  EXPECT_EQ(store->FindString("a"), std::nullopt);
  store->Load("no folder/file.txt");
  EXPECT_EQ(FailureOf([&] { store->Save(); }), NoInstance);
  store.reset();  // can neither write nor report it
}

// Sets a locale of one byte a character, in which \xE4 is a letter and \xA0 is white space. Windows
// has such a one; elsewhere it is made here, so that none has to be installed.
const char* SetLocaleOfOneByte() {
#ifdef _WIN32
  return std::setlocale(LC_CTYPE, ".1252");
#else
  std::ostringstream characters;
  characters << "<escape_char> /\nCHARMAP\n" << std::hex << std::uppercase;
  for (int byte = 0x10; byte < 0x100; ++byte)
    characters << "<U00" << byte << "> /x" << byte << "\n";
  WriteBytes("characters", characters.str() + "END CHARMAP\n");
  WriteBytes("classes",
             "LC_CTYPE\nlower <U0061>..<U007A>;<U00E4>\nspace <U0020>;<U00A0>\nEND LC_CTYPE\n");
  // Complains of all that is not defined, and makes the locale.
  static_cast<void>(std::system("localedef -c -f ./characters -i ./classes ./one_byte 2>talk"));
  setenv("LOCPATH", fs::current_path().c_str(), 1);
  return std::setlocale(LC_CTYPE, "one_byte");
#endif
}

TEST_F(ConfigFile, SetLocaleDecidesWhatALetterAndWhiteSpaceAre) {
  Start();
  if (SetLocaleOfOneByte() == nullptr) GTEST_SKIP() << "no such locale can be made here";
  EXPECT_EQ(Parse("\xE4 \xA0=\xA0 v"), (ConfigEntries{{"\xE4", "v"}}));
}

TEST_F(ConfigFile, NumberIsASignAndDigitsWithin32Bits) {
  Start();
  for (const char* number : {"2147483647", "+2147483647", "002147483647"}) {
    store->SetString("n", number);
    EXPECT_EQ(store->GetInt("n", 42), INT32_MAX) << number;
  }
  for (const char* other : {"", "-", "+-1", "--1", " 1", "1 ", "1.0", "0x1", "1e1", "1,234",
                            "2147483648", "-2147483649"}) {
    store->SetString("n", other);
    EXPECT_EQ(store->GetInt("n", 42), 42) << other;
    EXPECT_EQ(store->FindString("n"), other) << "stays in the store";
  }
}

TEST_F(ConfigFile, NumbersFollowTheGlobalLocale) {
  Start();
  UseCommas();
  store->SetInt("n", INT32_MIN);
  EXPECT_EQ(store->FindString("n"), "-2.147.483.648");
  EXPECT_EQ(store->GetInt("n", 42), INT32_MIN);
  Parse(std::string(1233, '\n') + "bad");
  EXPECT_EQ(ErrorsOf(log), Errors{BadLine("name", "1.234", "bad")});
}

}  // namespace
}  // namespace Common::Test

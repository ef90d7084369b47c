#include <common/config_file.h>

#include "support.h"

namespace Common::Test {
namespace {

using Errors = std::vector<std::string>;
using namespace std::string_literals;

const std::string MainFile = "content/config/config.txt";
const std::string UserFile = "content/config/user.txt";

std::string BadLine(const std::string& name, const std::string& number, const std::string& line) {
  return "Syntax error reading configuration file: " + name + " at line: " + number +
         " content: " + line + ".";
}

struct ConfigFile : testing::Test {
  void Start() { store.reset(ManufactureConfigFile()); }

  StoredLog log;
  std::unique_ptr<Config::SConfigFile> store;
};

TEST_F(ConfigFile, TakesTheUserFileFirstAndSavesAllToTheMainFile) {
  WriteBytes(MainFile, "# gone\r\nkept = 1\r\nsame = main\r\n");
  WriteBytes(UserFile, "same = user\nnew = 2");
  Start();
  EXPECT_EQ(ErrorsOf(log), Errors{BadLine(MainFile, "1", "# gone")});
  EXPECT_EQ(store->FindString("missing"), std::nullopt);
  EXPECT_EQ(store->GetString("asked", "first"), "first");
  store->SetString("kept", "");
  EXPECT_EQ(store->GetInt("number", -7), -7);
  store->Save();
  EXPECT_EQ(ReadBytes(MainFile),
            OnDisk("asked = first\nkept = \nnew = 2\nnumber = -7\nsame = user\n"));
  store->SetString("B", "at the end");
  store.reset();
  EXPECT_EQ(ReadBytes(MainFile).find("B = at the end"), 0U);
  EXPECT_EQ(ReadBytes(UserFile), "same = user\nnew = 2");
}

TEST_F(ConfigFile, LoadMovesTheTargetBeforeItReads) {
  WriteBytes(MainFile, "a = main\nb = main\n");
  WriteBytes(u8"h\u00E4fen.txt", "b = other\n");
  Start();
  for (const char* path : {"h\u00E4fen.txt", "missing.txt"}) {
    EXPECT_TRUE(store->Load(path));
    store->Save();
    EXPECT_EQ(ReadBytes(Vorn::PathFromUtf8(path)), OnDisk("a = main\nb = other\n"));
  }
  EXPECT_EQ(ReadBytes(MainFile), "a = main\nb = main\n");
  EXPECT_EQ(FailureOf([&] { store->Load("content"); }), "filesystem_error")
      << "there, but not to be read";
  store.reset();
  EXPECT_EQ(ErrorsOf(log), Errors{"File 'content' write error."});
}

TEST_F(ConfigFile, UnreadableFileEndsTheFactoryAndLosesNothing) {
  WriteBytes(MainFile, "a = main");
  std::filesystem::create_directory(UserFile);
  EXPECT_EQ(FailureOf(ManufactureConfigFile), "filesystem_error");
  EXPECT_EQ(ReadBytes(MainFile), "a = main");
  EXPECT_EQ(FailureOf(ManufactureConfigFile), "Multiple instances of SCOnfigFile");
}

TEST_F(ConfigFile, AsksForTheLogWhenAMessageIsDue) {
  Start();
  store->WriteFile({}, Vorn::SharedPath::NewWrapped("no/folder.txt"));
  EXPECT_EQ(ErrorsOf(log), Errors{"File 'no/folder.txt' write error."});
  log.Remove();
  store->SetString("a", "1");
  WriteBytes("bad.txt", "a = 2\nbad\n");
  EXPECT_EQ(FailureOf([&] { store->Save(); }), NoInstance);
  EXPECT_EQ(FailureOf([&] { store->Load("bad.txt"); }), NoInstance);
  EXPECT_EQ(store->FindString("a"), "1");
  store->Load(MainFile);
  store.reset();  // cannot write and cannot say so
}

TEST_F(ConfigFile, ReadsLineByLine) {
  Start();
  const std::string text =
      "\xEF\xBB\xBFmark = 1\n\n\r\n\r\r\nclose=v\nwide \t\v\f\r= \t\v\f\rv \t\v\r\r\na/B\\c_9 = "
      "\"x\" = y\rz\n"
      "twice = 1\nTwice = 2\ntwice = 3\n \t= no key\nbytes = \xC3\xBC\xFF\x01\nnul = v\0w\nnone "
      "=\r\nbad\0 = 1\r\n"
      "\0bad = 1\n# comment\n[head]\n  \n indented = 1\nk.l = 1\nk-l = 1\nk l = 1\n\xE4 = 1\nbare\r\r\nlast = 1"s;
  EXPECT_EQ(store->FormatEntries(store->ParseContent(text, "name")),
            " = no key\nTwice = 2\na/B\\c_9 = \"x\" = y\rz\nbytes = \xC3\xBC\xFF\x01\nclose = "
            "v\nlast = 1\nnone = \n"
            "nul = v\ntwice = 3\nwide = v \t\v\n");
  EXPECT_EQ(store->FindString("last"), std::nullopt) << "the store stays as it was";
  Errors errors{BadLine("name", "1", "\xEF\xBB\xBFmark = 1")};
  int number = 15;
  for (const std::string& line :
       {"bad\0 = 1"s, "\0bad = 1"s, "# comment"s, "[head]"s, "  "s, " indented = 1"s, "k.l = 1"s,
        "k-l = 1"s, "k l = 1"s, "\xE4 = 1"s, "bare"s}) {
    errors.push_back(BadLine("name", std::to_string(number++), line));
  }
  EXPECT_EQ(ErrorsOf(log), errors);
}

TEST_F(ConfigFile, ConvertsWholeNumbersAsTheGlobalLocaleDoes) {
  Start();
  for (const char* text : {"2147483648", "-2147483649", "4294967297", "", "+", "-+1", "1 ", " 1",
                           "1.0", "1e3", "0x1", "1,000"}) {
    store->SetString("n", text);
    EXPECT_EQ(store->GetInt("n", 42), 42) << text;
    EXPECT_EQ(store->FindString("n"), text);
  }
  store->SetString("n", "+002147483647");
  EXPECT_EQ(store->GetInt("n", 42), INT32_MAX);
  GroupDigits();
  store->SetInt("n", INT32_MIN);
  EXPECT_EQ(store->FindString("n"), "-2,147,483,648");
  EXPECT_EQ(store->GetInt("n", 42), INT32_MIN);
  store->ParseContent(std::string(1233, '\n') + "bad", "name");
  EXPECT_EQ(ErrorsOf(log), Errors{BadLine("name", "1,234", "bad")});
}

}  // namespace
}  // namespace Common::Test

#include <common/config_file.h>

#include <limits>
#include <string_view>

#include "support.h"

namespace Common::Test {
namespace {

using Config::ConfigEntries;
using namespace std::string_literals;

// Each test has a store of its own; the folder of its file is there.
class ConfigFormat : public testing::Test {
 protected:
  ConfigFormat() { std::filesystem::create_directories("content/config"); }

  const StoredLog log;
  const std::unique_ptr<Config::SConfigFile> store{ManufactureConfigFile()};
};

std::string BadLine(const std::string& number, const std::string& content) {
  return "Syntax error reading configuration file: some name at line: " + number + " content: " + content + ".";
}

TEST_F(ConfigFormat, ReadsLineByLine) {
  struct Case {
    std::string content;
    ConfigEntries entries;
    std::vector<std::string> errors;
  };
  for (const Case& tested : std::vector<Case>{
           {"", {}, {}},
           {"\n\r\n\r\r\n", {}, {}},
           {"k=v", {{"k", "v"}}, {}},
           {"a = 1\nb = 2\n", {{"a", "1"}, {"b", "2"}}, {}},
           {"a = 1\r\nb = 2\r\r\nc = x\ry", {{"a", "1"}, {"b", "2"}, {"c", "x\ry"}}, {}},
           {"k \t\v\f\r= \t\v\f\rv \t\v", {{"k", "v \t\v"}}, {}},
           {"k = \"x\" = y = z", {{"k", "\"x\" = y = z"}}, {}},
           {"a/B\\c_9=1\nA=2\na=3\na=4", {{"A", "2"}, {"a", "4"}, {"a/B\\c_9", "1"}}, {}},
           {"=", {{"", ""}}, {}},
           {" \t= v", {{"", "v"}}, {}},
           {"k = \nl =", {{"k", ""}, {"l", ""}}, {}},
           {"k = \xC3\xBC\xFF\x01", {{"k", "\xC3\xBC\xFF\x01"}}, {}},
           {"k = v\0w\n\r\nbad\0 = 1\r\nl = 2"s, {{"k", "v"}, {"l", "2"}}, {BadLine("3", "bad\0 = 1"s)}},
           {"\0k = 1"s, {}, {BadLine("1", "\0k = 1"s)}},
           {"\n\r\r\r\n # no comment\n[head]\n  \ngood = 1\n k = 1\nk.l = 1\nk-l = 1\nk l = 1\nk\r\r",
            {{"good", "1"}},
            {BadLine("3", " # no comment"), BadLine("4", "[head]"), BadLine("5", "  "), BadLine("7", " k = 1"),
             BadLine("8", "k.l = 1"), BadLine("9", "k-l = 1"), BadLine("10", "k l = 1"), BadLine("11", "k")}},
           {"\xEF\xBB\xBFk = 1\n\xE4 = 1\nl = 2",
            {{"l", "2"}},
            {BadLine("1", "\xEF\xBB\xBFk = 1"), BadLine("2", "\xE4 = 1")}},
       }) {
    log->errors.clear();
    EXPECT_EQ(store->ParseContent(tested.content, "some name"), tested.entries) << tested.content;
    EXPECT_EQ(log->errors, tested.errors) << tested.content;
  }
  store->Save();
  EXPECT_EQ(ReadBytes("content/config/config.txt"), "") << "reading leaves the store alone";
}

TEST_F(ConfigFormat, WritesSortedLinesThatReadBack) {
  const ConfigEntries entries{{"a", " = b\t "}, {"\xC3", "1"}, {"Z", ""}, {"aa", "v"}, {"", "\xFF"}, {"k.l", "2"}};
  const std::string text = " = \xFF\nZ = \na =  = b\t \naa = v\nk.l = 2\n\xC3 = 1\n";
  EXPECT_EQ(store->FormatEntries(entries), text);
  EXPECT_EQ(store->FormatEntries({}), "");
  store->WriteFile(entries, "file.txt");
  EXPECT_EQ(ReadBytes("file.txt"), OnDisk(text));
  const ConfigEntries readBack{{"a", "= b\t "}, {"Z", ""}, {"aa", "v"}, {"", "\xFF"}};
  EXPECT_EQ(store->ReadFile("file.txt"), readBack);
  EXPECT_EQ(log->errors.size(), 2U);
}

TEST_F(ConfigFormat, ReadsNumbersOnlyFromWholeTexts) {
  constexpr std::int32_t Default = -42;
  const std::vector<std::pair<std::string, std::int32_t>> cases{
      {"+7", 7},
      {"007", 7},
      {"-0", 0},
      {"2147483647", 2147483647},
      {"-2147483648", std::numeric_limits<std::int32_t>::min()},
      {"2147483648", Default},
      {"-2147483649", Default},
      {"4294967297", Default},
      {"99999999999999999999", Default},
      {"", Default},
      {"+", Default},
      {"-+1", Default},
      {"1 ", Default},
      {" 1", Default},
      {"1.0", Default},
      {"1e3", Default},
      {"0x1", Default},
      {"1,000", Default},
      {"1\0"s, Default}};
  for (const auto& [text, number] : cases) {
    store->SetString("n", text);
    EXPECT_EQ(store->GetInt("n", Default), number) << text;
    EXPECT_EQ(store->FindString("n"), text);
  }
  store->SetInt("n", std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(store->FindString("n"), "-2147483648");
  EXPECT_EQ(store->GetInt("new", Default), Default);
  EXPECT_EQ(store->FindString("new"), "-42");
}

TEST_F(ConfigFormat, GroupsDigitsAsTheGlobalLocaleDoes) {
  GroupDigits();
  store->SetInt("n", -1234567);
  EXPECT_EQ(store->FindString("n"), "-1,234,567");
  EXPECT_EQ(store->GetInt("n", 0), -1234567);
  EXPECT_EQ(store->GetInt("m", 1000), 1000);
  EXPECT_EQ(store->FindString("m"), "1,000");
  store->ParseContent(std::string(1233, '\n') + "bad", "some name");
  EXPECT_EQ(log->errors, std::vector{BadLine("1,234", "bad")});
}

}  // namespace
}  // namespace Common::Test

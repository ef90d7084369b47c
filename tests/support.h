// What the tests share: helpers for failures, streams, files and locales, and the stand-ins of the
// kit.
#pragma once

#include <common/application_error_exception.h>
#include <common/kit/stand_ins.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <locale>
#include <regex>
#include <sstream>

#ifndef _WIN32
#include <sys/resource.h>
#endif

namespace Common::Test {

using StoredClock = Kit::Stored<Kit::StandInClock>;
using StoredLog = Kit::Stored<Kit::StandInLog>;

// The texts of the errors that reached the log, oldest first.
inline std::vector<std::string> ErrorsOf(const StoredLog& log) {
  return log->TextsOf(Kit::StandInLog::Kind::Error);
}

inline const std::string Place =
    R"(ERROR: D:\Marble_Tern_Haven\tarn_works\vorn_lnk\singleton:__LINE__ )";
inline const std::string NoInstance = Place + "No instance!";
inline const std::string DoubleInstancing = Place + "Double singleton instancing!";

// The text of what the call throws: of the library's own failures the message, of the file system's
// the type.
template <class Call>
std::string FailureOf(Call&& call) {
  try {
    std::forward<Call>(call)();
  } catch (const ApplicationErrorException& failure) {
    return failure.what();
  } catch (const Vorn::MissingInstance& failure) {
    return failure.Message();
  } catch (const std::filesystem::filesystem_error&) {
    return "filesystem_error";
  }
  return "none";
}

// Collects what reaches a console stream.
class Capture {
 public:
  explicit Capture(std::ostream& captured)
      : stream(captured), before(captured.rdbuf(text.rdbuf())) {}
  ~Capture() { stream.rdbuf(before); }

  std::string Text() const { return text.str(); }

 private:
  std::ostream& stream;
  std::ostringstream text;
  std::streambuf* const before;
};

// Writes the bytes as they are, and makes the folders on the way.
inline void WriteBytes(const std::filesystem::path& path, const std::string& bytes) {
  if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string ReadBytes(const std::filesystem::path& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return std::move(bytes).str();
}

// The text as a text-mode stream of this platform puts it on disk.
inline std::string OnDisk(const std::string& text) {
#ifdef _WIN32
  return std::regex_replace(text, std::regex("\n"), "\r\n");
#else
  return text;
#endif
}

// The text with each time stamp cut down to a T.
inline std::string WithoutTimes(const std::string& text) {
  return std::regex_replace(text, std::regex(R"(\d{4}-[01]\d-[0-3]\d, [012]\d:[0-5]\d:[0-6]\d:)"),
                            "T");
}

// The text of a file of the log, and what a log starts with.
inline std::string LogText(const std::filesystem::path& path) {
  return WithoutTimes(ReadBytes(path));
}
inline const std::string LogName = "zeb_log.txt";
inline const std::string LogHeader =
    "T -------------------------------------\nT ZEB Log: T\n"
    "T -------------------------------------\n";

#ifndef _WIN32
// From here on no file grows beyond this size: a write that finds no room is told by SIGXFSZ.
inline void LimitFiles(rlim_t size) {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = std::min(size, limit.rlim_max);
  setrlimit(RLIMIT_FSIZE, &limit);
}
#endif

// From here on numbers read 1.234.567,8 in the whole process.
inline void UseCommas() {
  struct Commas : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  std::locale::global(std::locale(std::locale::classic(), new Commas));
}

}  // namespace Common::Test

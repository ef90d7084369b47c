// What the tests share: stand-ins for the clock and the log, and helpers for failures, streams, files and locales.
#pragma once

#include <common/application_error_exception.h>
#include <common/message_log.h>
#include <common/time_provider.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <locale>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace Common::Test {

template <class T>
using Access = Vorn::Singleton<T, std::shared_ptr>;

inline const std::string NoInstance =
    R"(ERROR: D:\Marble_Tern_Haven\tarn_works\vorn_lnk\singleton:__LINE__ No instance!)";
inline const std::string DoubleInstancing =
    R"(ERROR: D:\Marble_Tern_Haven\tarn_works\vorn_lnk\singleton:__LINE__ Double singleton instancing!)";

// The text of what the call throws: of the library's own failures the message, of the file system's the type.
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

// A clock that the test sets. Each reading is counted and moves it on by `step`, after the answer.
struct FakeClock : STimeProvider {
  struct Filler : Vorn::IScoped {
    Filler(std::uint64_t* moved, std::uint64_t by) : now(moved), duration(by) {}
    ~Filler() override { *now += duration; }

    std::uint64_t* const now;
    const std::uint64_t duration;
  };

  void SetOrigin(std::uint64_t) override {}
  std::uint64_t Now() override { return ++readings, std::exchange(now, now + step); }
  void Wait(std::uint64_t microseconds) override { now += microseconds; }
  Vorn::IntrudablePtr<Vorn::IScoped> MakeTimeFiller(std::uint64_t microseconds) override {
    return Vorn::IntrudablePtr<Vorn::IScoped>(new Filler(&now, microseconds));
  }
  void RunTimingCheck() override {}
  Vorn::IntrudablePtr<IPeriodic> MakePeriodic(PeriodicKind, std::uint64_t, float) override { return nullptr; }

  std::uint64_t now = 0;
  std::uint64_t step = 0;
  int readings = 0;
};

// A log that collects errors.
struct FakeLog : Log::SMessageLog {
  void LogError(const std::string& text) override { errors.push_back(text); }
  void LogWarning(const std::string&) override {}
  void LogMessage(const std::string&) override {}
  void SetLogFile(const std::string&) override {}
  void SetLiveOutput(bool) override {}
  void AddSideLine(const std::string&) override {}
  void ClearSideLines() override {}

  std::vector<std::string> errors;
};

// Keeps a new T in the storage, where it stands for the service S.
template <class S, class T>
class Stored {
 public:
  T* operator->() const { return service; }
  void Remove() { owner.reset(); }

 private:
  T* service = new T;
  std::shared_ptr<Access<S>> owner = Access<S>::Create(service);
};

using StoredClock = Stored<STimeProvider, FakeClock>;
using StoredLog = Stored<Log::SMessageLog, FakeLog>;

// Collects what reaches a console stream.
class Capture {
 public:
  explicit Capture(std::ostream& captured) : stream(captured), before(captured.rdbuf(text.rdbuf())) {}
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
  std::string bytes;
  for (const char character : text) bytes += character == '\n' ? std::string("\r\n") : std::string(1, character);
  return bytes;
#else
  return text;
#endif
}

// From here on numbers read 1,234,567 in the whole process.
inline void GroupDigits() {
  struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
  };
  std::locale::global(std::locale(std::locale::classic(), new Grouping));
}

}  // namespace Common::Test

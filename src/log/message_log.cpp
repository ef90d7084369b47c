#include <common/application_error_exception.h>
#include <common/message_log.h>
#include <vorn_lnk/guid>
#include <vorn_lnk/shared_path>

#include <atomic>
#include <cassert>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "../console.h"
#include "../output_file.h"
#include "time_stamp.h"

namespace Common {
namespace {

constexpr std::string_view ErrorPrefix = "ERROR: ";
constexpr std::string_view WarningPrefix = "WARNING: ";
constexpr std::string_view PlainPrefix;
const std::string SeparatorLine(37, '-');
const std::string HeaderLabel = "ZEB Log: ";
const std::string LogFileName = "zeb_log.txt";
const std::string ArchiveFolder = "old_logs";

constexpr std::size_t BatchLineCount = 500;
constexpr std::size_t FileBufferSize = 32 * 1024;

std::int32_t instanceCount = 0;

// A plain mutex that knows which thread holds it. A log call made from inside a log call is a
// mistake of the host's and stops here, since the lock would never come.
class LineMutex {
 public:
  // NOLINTBEGIN(readability-identifier-naming): the names are the standard library's
  void lock() {
    assert(!IsHeldByThisThread() && "a log call was made from inside a log call");
    if (IsHeldByThisThread()) {
      throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
    }
    mutex.lock();
    holder.store(std::this_thread::get_id(), std::memory_order_relaxed);
  }

  void unlock() {
    holder.store(std::thread::id(), std::memory_order_relaxed);
    mutex.unlock();
  }
  // NOLINTEND(readability-identifier-naming)

  // Only the thread itself ever stores its own id, so its answer is sure without an order.
  bool IsHeldByThisThread() const noexcept {
    return holder.load(std::memory_order_relaxed) == std::this_thread::get_id();
  }

 private:
  std::mutex mutex;
  std::atomic<std::thread::id> holder{};
};

}  // namespace

class MessageLogImpl final : public Log::SMessageLog {
 public:
  MessageLogImpl();
  ~MessageLogImpl() override;

  void LogError(const std::string& text) override { AddLine(ErrorPrefix, text); }
  void LogWarning(const std::string& text) override { AddLine(WarningPrefix, text); }
  void LogMessage(const std::string& text) override { AddLine(PlainPrefix, text); }
  void SetLogFile(const std::string& fileName) override;
  void SetLiveOutput(bool on) override { liveOutput = on; }
  void AddSideLine(const std::string& text) override { sideLines.push_back(text + '\n'); }
  void ClearSideLines() override { sideLines.clear(); }
  std::vector<std::string> SideLines() override { return sideLines; }
  bool Flush() override;

 private:
  void MovePreviousLogAway();
  void AddHeader();
  void AddLine(std::string_view prefix, const std::string& text);
  void PublishLastLine() noexcept;
  void CopyToConsole(const std::string& line) noexcept;
  bool WritePendingLines() noexcept;
  void ReportFailedOpen() noexcept;

  // No lock guards these: the host keeps their operations apart from each other and from log calls.
  std::vector<std::string> sideLines;
  bool liveOutput = false;

  // Guards what stands below it, but for `logFile`, which log calls only read.
  LineMutex lineMutex;
  Vorn::SharedPath logFile;
  std::vector<std::string> pendingLines;  // oldest first, each ended by a line feed
  TimeStamper timeStamper;
  char fileBuffer[FileBufferSize];
};

// A log that cannot be moved away stays untouched: this run then has no file, until the host names
// one.
MessageLogImpl::MessageLogImpl() {
  SetLogFile(LogFileName);
  try {
    MovePreviousLogAway();
  } catch (const std::filesystem::filesystem_error&) {
    logFile.Reset();
    return;
  }
  AddHeader();
}

MessageLogImpl::~MessageLogImpl() { WritePendingLines(); }

void MessageLogImpl::MovePreviousLogAway() {
  if (!std::filesystem::exists(std::filesystem::path(logFile))) return;
  if (!std::filesystem::exists(ArchiveFolder)) std::filesystem::create_directory(ArchiveFolder);
  if (std::filesystem::status(ArchiveFolder).type() != std::filesystem::file_type::directory) {
    std::filesystem::remove(std::filesystem::path(logFile));
    return;
  }
  std::filesystem::path archived(ArchiveFolder);
  archived += std::filesystem::path::preferred_separator;
  archived += Vorn::CreateGuid() + ".txt";
  std::filesystem::rename(std::filesystem::path(logFile), archived);
}

void MessageLogImpl::AddHeader() {
  LogMessage(SeparatorLine);
  LogMessage(HeaderLabel + timeStamper.MakeTimeStamp());
  LogMessage(SeparatorLine);
}

void MessageLogImpl::SetLogFile(const std::string& fileName) {
  std::filesystem::path path = Vorn::PathFromUtf8(fileName);
  if (!path.is_absolute()) {
    std::error_code failure;
    const std::filesystem::path folder = std::filesystem::current_path(failure);
    if (failure) throw std::filesystem::filesystem_error("current_path()", failure);
    path = folder / path;
  }
  logFile.Reset(std::move(path), true);
}

// The line's memory is allocated before the lock is taken, since other threads wait for that lock.
void MessageLogImpl::AddLine(std::string_view prefix, const std::string& text) {
  std::string line;
  line.reserve(prefix.size() + TimeStamper::UsualSize + 1 + text.size() + 1);
  const std::lock_guard lock(lineMutex);
  line += prefix;
  line += timeStamper.MakeTimeStamp();
  line += ' ';
  line += text;
  line += '\n';
  pendingLines.push_back(std::move(line));
  PublishLastLine();
}

void MessageLogImpl::PublishLastLine() noexcept {
  if (!liveOutput) return;
  CopyToConsole(pendingLines.back());
  if (pendingLines.size() < BatchLineCount) return;
  WritePendingLines();  // a file that cannot be opened loses the lines
  pendingLines.clear();
}

// One byte tells: only an error opens with the first byte of its prefix. A warning opens with that
// of its own, and a plain line with a digit of the stamp.
void MessageLogImpl::CopyToConsole(const std::string& line) noexcept {
  InsertQuietly(line.front() == ErrorPrefix.front() ? std::cerr : std::cout, line);
}

bool MessageLogImpl::Flush() {
  if (lineMutex.IsHeldByThisThread()) return false;
  try {
    const std::lock_guard lock(lineMutex);
    if (pendingLines.empty()) return true;
    if (!WritePendingLines()) return false;
    pendingLines.clear();
    return true;
  } catch (const std::system_error&) {  // no lock to be had, and a dying process needs an answer
    return false;
  }
}

// Whether the file could be opened. With a buffer of the log's own a usual batch is one write to
// the disk.
bool MessageLogImpl::WritePendingLines() noexcept {
  OutputFile file(logFile.Path(), OutputFile::Mode::Append, fileBuffer);
  if (!file.IsOpen()) {
    ReportFailedOpen();
    return false;
  }
  for (const std::string& line : pendingLines) file.Write(line);
  return true;
}

void MessageLogImpl::ReportFailedOpen() noexcept {
  try {
    InsertQuietly(std::cerr, "Failed to open log file for writing: " + logFile.String() + '\n');
  } catch (const std::exception&) {  // no memory for the text, and no other place to tell of it
  }
}

namespace Log {

SMessageLog* ManufactureMessageLog() {
  ++instanceCount;
  if (instanceCount > 1) throw ApplicationErrorException("Multiple instances of SMessageLog!");
  return new MessageLogImpl;
}

}  // namespace Log
}  // namespace Common

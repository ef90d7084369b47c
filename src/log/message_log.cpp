#include <common/application_error_exception.h>
#include <common/message_log.h>
#include <vorn_lnk/guid>
#include <vorn_lnk/shared_path>

#ifndef _WIN32
#include <pthread.h>
#endif

#include <atomic>
#include <cassert>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "../console.h"
#include "../output_file.h"
#include "guard_file.h"
#include "previous_log.h"
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

std::filesystem::path MakeAbsolute(const std::string& fileName) {
  std::filesystem::path path = Vorn::PathFromUtf8(fileName);
  if (path.is_absolute()) return path;
  std::error_code failure;
  const std::filesystem::path folder = std::filesystem::current_path(failure);
  if (failure) throw std::filesystem::filesystem_error("current_path()", failure);
  return folder / path;
}

#ifdef _WIN32

bool KeepFromChildren(std::unique_ptr<GuardFile>* /*guard*/) { return true; }

#else

std::unique_ptr<GuardFile>* guardOfProcess = nullptr;

// Runs in the child of a `fork`, which leaves the guard to its parent. Frees nothing, since another
// thread of the parent may have been using the guard.
void LeaveGuardToParent() {
  static GuardFile* left = nullptr;
  if (guardOfProcess == nullptr || *guardOfProcess == nullptr) return;
  left = guardOfProcess->release();
  left->Close();
}

// From here on children made by `fork` find `*guard` empty. Null turns that off.
bool KeepFromChildren(std::unique_ptr<GuardFile>* guard) {
  guardOfProcess = guard;
  if (guard == nullptr) return true;
  static const bool isRegistered = pthread_atfork(nullptr, nullptr, LeaveGuardToParent) == 0;
  return isRegistered;
}

#endif

// Knows which thread holds it, so that a log call from inside a log call, which a host must not
// make, fails here instead of hanging.
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

  // Relaxed is enough: only the thread itself ever stores its own id.
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
  bool SetGuardFile(const std::string& fileName) override;

 private:
  void MovePreviousLogAway();
  void AddHeader();
  void AddLine(std::string_view prefix, const std::string& text);
  void PublishLastLine() noexcept;
  void CopyToConsole(const std::string& line) noexcept;
  bool WritePendingLines() noexcept;
  void DropPendingLines() noexcept;
  void MarkLogFile() noexcept;
  bool UseGuardFile(const std::filesystem::path& path);
  bool GiveUpGuardFile() noexcept;
  void RemoveGuardFile() noexcept;
  void ReportFailedOpen() noexcept;

  // Not locked: the host keeps their operations apart from each other and from log calls.
  std::vector<std::string> sideLines;
  bool liveOutput = false;
  PreviousLog previousLog;

  // Guards the members below. Log calls only read `logFile`.
  LineMutex lineMutex;
  Vorn::SharedPath logFile;
  std::vector<std::string> pendingLines;  // oldest first, each ended by a line feed
  std::unique_ptr<GuardFile> guard;       // holds the same lines
  TimeStamper timeStamper;
  char fileBuffer[FileBufferSize];
};

MessageLogImpl::MessageLogImpl() {
  SetLogFile(LogFileName);
  previousLog.name = logFile.Path();
  previousLog.archiveFolder = logFile.Path().parent_path() / ArchiveFolder;
  try {
    MovePreviousLogAway();
  } catch (const std::filesystem::filesystem_error&) {
    logFile.Reset();
    return;
  }
  AddHeader();
}

MessageLogImpl::~MessageLogImpl() {
  WritePendingLines();
  RemoveGuardFile();
  KeepFromChildren(nullptr);
}

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
  std::filesystem::path movedTo = previousLog.archiveFolder / archived.filename();
  previousLog.mark = LookAt(logFile.Path());
  std::filesystem::rename(std::filesystem::path(logFile), archived);
  previousLog.movedTo = std::move(movedTo);
}

void MessageLogImpl::AddHeader() {
  LogMessage(SeparatorLine);
  LogMessage(HeaderLabel + timeStamper.MakeTimeStamp());
  LogMessage(SeparatorLine);
}

void MessageLogImpl::SetLogFile(const std::string& fileName) {
  logFile.Reset(MakeAbsolute(fileName), true);
  MarkLogFile();
}

// Allocates the line before it takes the lock, since other threads wait for that.
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
  if (guard != nullptr) guard->Add(std::span(&pendingLines.back(), 1));
  PublishLastLine();
}

void MessageLogImpl::PublishLastLine() noexcept {
  if (!liveOutput) return;
  CopyToConsole(pendingLines.back());
  if (pendingLines.size() < BatchLineCount) return;
  WritePendingLines();  // a file that cannot be opened loses the lines
  DropPendingLines();
}

// The first byte tells: 'E' is an error; a warning has 'W', a message a digit of the stamp.
void MessageLogImpl::CopyToConsole(const std::string& line) noexcept {
  InsertQuietly(line.front() == ErrorPrefix.front() ? std::cerr : std::cout, line);
}

bool MessageLogImpl::Flush() {
  if (lineMutex.IsHeldByThisThread()) return false;
  try {
    const std::lock_guard lock(lineMutex);
    if (pendingLines.empty()) return true;
    if (!WritePendingLines()) return false;
    DropPendingLines();
    return true;
  } catch (const std::system_error&) {  // no lock, and a dying process needs an answer
    return false;
  }
}

// Returns whether the file could be opened. The buffer makes a usual batch one write to the disk.
bool MessageLogImpl::WritePendingLines() noexcept {
  OutputFile file(logFile.Path(), OutputFile::Mode::Append, fileBuffer,
                  [this] { return GiveUpGuardFile(); });
  if (!file.IsOpen()) {
    ReportFailedOpen();
    return false;
  }
  MarkLogFile();
  for (const std::string& line : pendingLines) file.Write(line);
  return true;
}

// Drops the lines before it sets the new mark. In the other order, a death in between would leave
// lines that seem unwritten.
void MessageLogImpl::DropPendingLines() noexcept {
  pendingLines.clear();
  if (guard != nullptr) guard->DropLines();
  MarkLogFile();
}

// Tells the guard which file the waiting lines belong to, and how long it is.
void MessageLogImpl::MarkLogFile() noexcept {
  if (guard != nullptr) guard->SetTarget(logFile.Path(), LookAt(logFile.Path()));
}

bool MessageLogImpl::SetGuardFile(const std::string& fileName) {
  const CancellationPause pause;
  if (fileName.empty()) {
    RemoveGuardFile();
    return true;
  }
  try {
    return UseGuardFile(MakeAbsolute(fileName).lexically_normal());
  } catch (const std::exception&) {
    return false;
  }
}

bool MessageLogImpl::UseGuardFile(const std::filesystem::path& path) {
  if (guard != nullptr && guard->Path() == path) return true;
  if (logFile.Path().lexically_normal() == path || !KeepFromChildren(&guard)) return false;
  std::unique_ptr<GuardFile> next = GuardFile::Open(path);
  if (next == nullptr || !CompletePreviousLog(*next, previousLog)) return false;
  next->DropLines();
  next->SetTarget(logFile.Path(), LookAt(logFile.Path()));
  next->Add(pendingLines);
  if (!next->HoldsAll()) {
    next->Remove();
    return false;
  }
  RemoveGuardFile();
  guard = std::move(next);
  return true;
}

// On a full disk the guard is given up, so that its space serves the lines.
bool MessageLogImpl::GiveUpGuardFile() noexcept {
  if (guard == nullptr) return false;
  RemoveGuardFile();
  return true;
}

// Drops the lines first: if the file cannot be deleted, they must not come back.
void MessageLogImpl::RemoveGuardFile() noexcept {
  if (guard == nullptr) return;
  guard->DropLines();
  guard->Remove();
  guard = nullptr;
}

void MessageLogImpl::ReportFailedOpen() noexcept {
  try {
    InsertQuietly(std::cerr, "Failed to open log file for writing: " + logFile.String() + '\n');
  } catch (const std::exception&) {  // no memory for the text
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

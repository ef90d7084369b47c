#include <common/application_error_exception.h>
#include <common/message_log.h>
#include <vorn_lnk/guid>
#include <vorn_lnk/shared_path>

#include <filesystem>
#include <iostream>
#include <mutex>
#include <utility>

#include "../output_file.h"
#include "time_stamp.h"

namespace Common {
namespace {

const std::string ErrorPrefix = "ERROR: ";
const std::string WarningPrefix = "WARNING: ";
const std::string PlainPrefix;
const std::string SeparatorLine(37, '-');
const std::string HeaderLabel = "ZEB Log: ";
const std::string LogFileName = "zeb_log.txt";
const std::string ArchiveFolder = "old_logs";

constexpr std::size_t BatchLineCount = 500;
constexpr std::size_t FileBufferSize = 32 * 1024;

std::int32_t instanceCount = 0;

// The bytes alone: a width or fill that the host has set for its own output is not for the log.
void Insert(std::ostream& console, const std::string& line) {
  console.write(line.data(), static_cast<std::streamsize>(line.size()));
}

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

 private:
  void MovePreviousLogAway();
  void AddHeader();
  void AddLine(const std::string& prefix, const std::string& text);
  void PublishLastLine() noexcept;
  void CopyToConsole(const std::string& line) noexcept;
  void WritePendingLines() noexcept;
  void ReportFailedOpen() noexcept;

  std::vector<std::string> sideLines;
  bool liveOutput = false;
  std::mutex lineMutex;
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
  if (!path.is_absolute()) path = std::filesystem::current_path() / path;
  logFile.Reset(std::move(path), true);
}

void MessageLogImpl::AddLine(const std::string& prefix, const std::string& text) {
  const std::lock_guard lock(lineMutex);
  const std::string& stamp = timeStamper.MakeTimeStamp();
  std::string line;
  line.reserve(prefix.size() + stamp.size() + 1 + text.size() + 1);
  line += prefix;
  line += stamp;
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
  WritePendingLines();
  pendingLines.clear();
}

// Only an error opens with the prefix's first byte: other lines open with a digit or with the
// warning's.
void MessageLogImpl::CopyToConsole(const std::string& line) noexcept {
  try {
    Insert(line.front() == ErrorPrefix.front() ? std::cerr : std::cout, line);
  } catch (...) {  // a host may have asked its streams to throw; the caller of the log has not
  }
}

// With a buffer of the log's own a usual batch is one write to the disk.
void MessageLogImpl::WritePendingLines() noexcept {
  OutputFile file(logFile.Path(), OutputFile::Mode::Append, fileBuffer);
  if (!file.IsOpen()) {
    ReportFailedOpen();
    return;
  }
  for (const std::string& line : pendingLines)
    file.sputn(line.data(), static_cast<std::streamsize>(line.size()));
}

void MessageLogImpl::ReportFailedOpen() noexcept {
  try {
    Insert(std::cerr, "Failed to open log file for writing: " + logFile.String() + '\n');
  } catch (...) {  // the failure of a log has nowhere else to go
  }
}

namespace Log {

SMessageLog* ManufactureMessageLog() {
  if (++instanceCount > 1) throw ApplicationErrorException("Multiple instances of SMessageLog!");
  return new MessageLogImpl;
}

}  // namespace Log
}  // namespace Common

// The one log of a process. A line is stamped with the local time, kept in memory, copied to the
// console, and written to the file in batches. At start the log of the previous run moves from
// `zeb_log.txt` in the working directory into `old_logs`, under a name of its own.
//
//   using Log = Vorn::Singleton<Common::Log::SMessageLog, std::shared_ptr>;
//   const auto owner = Log::Create(Common::Log::ManufactureMessageLog());
//   auto* log = Log::Get();
//   log->SetLiveOutput(true);
//   log->LogWarning("no free berth");  // WARNING: 2026-03-09, 17:05:42: no free berth
//
// What a crash loses: every line since the last batch. A batch is written when 500 lines wait, only
// while live output is on, and at the log's end. Nothing flushes earlier.
#pragma once

#include <common/common_services_export.h>
#include <vorn_lnk/singleton>

#include <string>
#include <vector>

namespace Common::Log {

struct VORN_LNK_SHARED_TYPE SMessageLog {
  // Writes all waiting lines. REQUIRES: all logging has ended.
  virtual ~SMessageLog() = default;

  // Each adds one line of its kind, `text` byte for byte: an error opens with "ERROR: ", a warning
  // with "WARNING: ". With live output on, errors are copied to std::cerr and all others to
  // std::cout, and a full batch is written, which may take the time of a write to the disk. No
  // trouble with console or file reaches the caller; a file that cannot be opened loses the batch
  // and gets one line on std::cerr. Throws only std::system_error for the lock and std::bad_alloc,
  // and has then added nothing. Any thread.
  virtual void LogError(const std::string& text) = 0;
  virtual void LogWarning(const std::string& text) = 0;
  virtual void LogMessage(const std::string& text) = 0;

  // Sends the lines that wait, and all later ones, to the end of this file; UTF-8, a relative name
  // counts from the present working directory. Opens nothing yet. Throws
  // std::filesystem::filesystem_error, and changes nothing, if the working directory cannot be
  // read. REQUIRES: no log call at the same time.
  virtual void SetLogFile(const std::string& fileName) = 0;

  // Turns the console copies and the batch writes on or off for the lines to come. Off at first:
  // lines then wait in memory for the log's end. REQUIRES: no log call at the same time.
  virtual void SetLiveOutput(bool on) = 0;

  // Side lines are a list apart, without stamp, for the host to show as it likes; they reach
  // neither console nor file. For one thread at a time.
  virtual void AddSideLine(const std::string& text) = 0;
  virtual void ClearSideLines() = 0;

  // A copy of the side lines, each ended by a line feed.
  virtual std::vector<std::string> SideLines() { return {}; }
};

// Makes the process's one log, which the caller owns: moves the previous log away and queues a
// header of three lines. If the move fails, there is no header, and no file until SetLogFile names
// one. Throws ApplicationErrorException on every call but the first,
// std::filesystem::filesystem_error if the working directory cannot be read, and whatever
// Vorn::CreateGuid does. For one thread at a time.
COMMON_SERVICES_EXPORT SMessageLog* ManufactureMessageLog();

}  // namespace Common::Log

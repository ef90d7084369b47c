/// @file
/// The one log of a process. A line is stamped with the local time, kept in memory, copied to the
/// console, and written to the file in batches. At start the log of the previous run moves from
/// `zeb_log.txt` in the working directory into `old_logs`, under a unique name that sorts by time.
///
/// ```cpp
/// using Log = Vorn::Service<Common::Log::SMessageLog>;
/// const auto owner = Log::Create(Common::Log::ManufactureMessageLog());
/// auto* log = Log::Get();
/// log->SetLiveOutput(true);
/// log->LogWarning("no free berth");  // WARNING: 2026-03-09, 17:05:42: no free berth
/// ```
///
/// What a crash loses: every line since the last batch; with a guard file, nothing:
///
/// ```cpp
/// log->SetGuardFile("zeb_log.guard");  // right after the log is made, in every run
/// ```
///
/// A batch is written when 500 lines wait and live output is on, and at the log's end. Only `Flush`
/// writes earlier. Without a guard file, flush once a second, which takes 2 us for 5 lines:
///
/// ```cpp
/// timers.Every(1'000'000, [] { Log::Get()->Flush(); });
/// ```
///
/// A terminate handler saves the rest if an exception ends the process:
///
/// ```cpp
/// static const std::terminate_handler tellAndAbort = std::get_terminate();
/// std::set_terminate([] {  // no signal handler: see Flush
///   Log::Get()->Flush();   // while the log's owner lives
///   tellAndAbort();        // which says what ended the process
/// });
/// ```
///
/// What else a host should know:
/// - A kill, or a loss of power, in the middle of a batch may leave its last line cut. After a kill
///   the guard file completes it.
/// - A full disk loses lines silently. Each byte is tried once, in order; after the first failure
///   the rest of that batch is dropped, and the next batch tries again.
/// - Live output into a pipe or a file comes in blocks, because `std::cout` buffers it there.
///   `std::cout << std::unitbuf` sends each line at once. Errors always come at once.
/// - The stamp is in the local time zone, without naming it. If the host changes the zone, it shows
///   within a second.
/// - One host for each working directory: of two, one may move the other's log away or be left
///   without a file.
/// - A plain file named `old_logs` costs the previous log: it is deleted, since it cannot be moved.
/// - A child made by `fork` has a copy of the waiting lines. It must end through `_exit` or `exec`:
///   with `exit`, an owner at file scope writes them a second time. If another thread was logging
///   during the `fork`, the child's first log call waits forever.
/// - A log call is no cancellation point: `pthread_cancel` takes effect at the next one after it.
#pragma once

#include <common/common_services_export.h>
#include <vorn_lnk/singleton>

#include <string>
#include <vector>

namespace Common::Log {

/// The kinds of line that a log has, the gravest first.
enum class LogKind {
  Error,    ///< LogError
  Warning,  ///< LogWarning
  Message,  ///< LogMessage
};

/// The log. Any thread may add lines or flush; the host keeps all other operations apart.
struct VORN_LNK_SHARED_TYPE SMessageLog {
  /// Writes all waiting lines, whatever live output says; if none wait, it still makes the file. A
  /// file that cannot be opened loses the lines and gets one line on std::cerr.
  ///
  /// REQUIRES: no log call and no `Flush` at the same time or later. Replace a terminate handler
  /// that flushes before this.
  virtual ~SMessageLog() = default;

  /// Adds one line that starts with "ERROR: ". `text` is taken byte for byte, line feeds included.
  /// With live output on, the line is copied to std::cerr, and if 500 lines or more then wait, all
  /// of them are written to the file.
  ///
  /// Throws only std::bad_alloc, and std::system_error for the lock, and has then added nothing. No
  /// failure of the console or the file reaches the caller, not even an exception from a host's own
  /// stream buffer. A file that cannot be opened loses the batch and gets one line on std::cerr.
  ///
  /// Any thread. Takes as long as a write to the disk if it completes a batch, or while another
  /// thread does.
  ///
  /// REQUIRES: not called from inside a log call, as by a console stream or a new-handler that
  /// logs. A build with assertions stops there; another one throws std::system_error
  /// (`resource_deadlock_would_occur`).
  virtual void LogError(const std::string& text) = 0;

  /// Adds one line that starts with "WARNING: " and is copied to std::cout; else as `LogError`.
  virtual void LogWarning(const std::string& text) = 0;

  /// Adds one line without a prefix, which is copied to std::cout; else as `LogError`.
  virtual void LogMessage(const std::string& text) = 0;

  /// Sends the waiting lines, and all later ones, to the end of the file `fileName`. Opens nothing
  /// yet. The name is UTF-8; a relative one counts from the current working directory. A name that
  /// holds a NUL is accepted, and names a file that cannot be opened.
  ///
  /// Throws std::filesystem::filesystem_error for "current_path()", and changes nothing, if the
  /// working directory cannot be read. REQUIRES: no log call and no `Flush` at the same time.
  virtual void SetLogFile(const std::string& fileName) = 0;

  /// Turns the console copies and the batch writes on or off, from the next line on. They are off
  /// at first: lines then wait in memory, without limit, for `Flush` or the log's end. Lines that
  /// already wait are never copied to the console; they go to the file with the next batch.
  ///
  /// REQUIRES: no log call at the same time.
  virtual void SetLiveOutput(bool on) = 0;

  /// Adds `text` to the side lines: a separate list, without stamps, for the host to show as it
  /// likes. Side lines reach neither console nor file. Throws std::bad_alloc, and has then added
  /// nothing. For one thread at a time.
  virtual void AddSideLine(const std::string& text) = 0;

  /// Empties the list of side lines. For one thread at a time.
  virtual void ClearSideLines() = 0;

  /// A copy of the side lines, oldest first, each ended by a line feed. A log that keeps none need
  /// not implement this. For one thread at a time, together with the two operations above.
  virtual std::vector<std::string> SideLines() { return {}; }

  /// Writes all waiting lines to the file now, whatever live output says. For a terminate handler,
  /// or before something that may crash; an orderly end of the log writes them anyway.
  ///
  /// Returns true when no line waits any more; if none did, no file is touched. Returns false if
  /// the lines still wait: the file could not be opened, which gets one line on std::cerr, or this
  /// thread is inside a log call, so the lock would never come. A disk that fills up in the middle
  /// costs the rest, as in any batch, and is not noticed. A log that writes each line at once, or
  /// has no file, need not implement this.
  ///
  /// Throws nothing. Any thread; waits for other threads' log calls. Not for signal handlers: a
  /// signal may interrupt any thread in the middle of a log call or an allocation.
  virtual bool Flush() { return true; }

  /// Keeps the waiting lines in the file `fileName` as well, so that the next start can complete
  /// the log of a run that died, whatever ended it: `SIGKILL`, a crash, `abort`, `_exit`,
  /// `TerminateProcess`, lack of memory. Each line whose call has returned is then found exactly
  /// once, whole and in order. Call it right after the log is made, with the same name at every
  /// start. The file is mapped into memory: a line costs one more copy, and no system call. A power
  /// cut may still lose what the system has not written.
  ///
  /// First come the lines that a dead run left in the file. They are appended to that run's log in
  /// `old_logs` if this start has moved it there, or if it holds part of their batch already.
  /// Otherwise they become an archive of their own: the run died before its first batch, a start
  /// without the guard came in between, or `SetLogFile` had named another file. That other file
  /// gets only the rest of a batch that it holds in part. From then on the guard file keeps the
  /// lines of this run, until they are written, or dropped with a log file that cannot be opened.
  ///
  /// An orderly end of the log deletes the file. So does an empty name, which ends the guard and
  /// returns true. Another name moves the guard; the name in use changes nothing and returns true.
  /// The name is UTF-8; a relative one counts from the current working directory.
  ///
  /// Returns false if the file cannot be made or mapped, is the log's own, or is held by a living
  /// process; if it is a link, a folder, or a file that this version did not make as a guard, none
  /// of which is ever touched; or if the lines of a dead run could not all be written, which then
  /// stay in it. A guard in use then stays as it is. A damaged guard file is started again, without
  /// its lines. A log that keeps no guard returns false, as this does.
  ///
  /// The file takes 256 KiB, and more while more lines wait, all of it reserved on the disk
  /// beforehand. If it cannot grow, it keeps the first of the waiting lines, and later ones have no
  /// guard until those are written. `zeb_log.txt` never loses a line by it: if a batch finds the
  /// disk full, the guard ends and gives its space back. Copy-on-write file systems, such as Btrfs
  /// and ZFS, cannot reserve space: on a full one a log call may end the process with SIGBUS, so
  /// keep the guard file on another. The child of a `fork` has no guard.
  ///
  /// Throws nothing. REQUIRES: no log call, no `Flush` and no `fork` at the same time, and no use
  /// of the file by the host.
  virtual bool SetGuardFile(const std::string& /*fileName*/) { return false; }

  /// Whether a line of this kind would be kept, so that a caller need not format one that would
  /// not. The log itself keeps every line. Throws nothing. Any thread.
  virtual bool Wants(LogKind /*kind*/) { return true; }
};

/// Makes the process's one log, which the caller owns: moves the previous log away and queues a
/// header of three lines. If the move fails, the previous log stays untouched, there is no header,
/// and no file until `SetLogFile` names one.
///
/// Throws ApplicationErrorException on every call but the first, also if that one failed or its log
/// has ended; std::filesystem::filesystem_error for "current_path()" if the working directory
/// cannot be read; whatever `Vorn::CreateGuid` does; and std::bad_alloc. For one thread at a time.
[[nodiscard]] COMMON_SERVICES_EXPORT SMessageLog* ManufactureMessageLog();

}  // namespace Common::Log

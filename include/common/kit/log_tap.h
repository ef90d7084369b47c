/// @file
/// A log that stands in front of the real one, in its place in the storage. Every line passes
/// through it, so it can drop lines that are not grave enough, count lines by kind, keep the last
/// ones for a console in the game, and call listeners.
///
/// ```cpp
/// using Log = Vorn::Service<Common::Log::SMessageLog>;
/// auto* tap = new Common::Kit::LogTap(
///     std::unique_ptr<Common::Log::SMessageLog>(Common::Log::ManufactureMessageLog()));
/// const auto owner = Log::Create(tap);
/// tap->SetLowest(Common::Log::LogKind::Warning);  // no messages from here on
///
/// const auto listening = tap->Listen([](const Common::Kit::LogTap::Line& line) {
///   if (line.kind == Common::Log::LogKind::Error) Beep();
/// });
/// std::uint64_t shown = 0;
/// for (const Common::Kit::LogTap::Line& line : tap->LastLines(shown)) {  // once a frame
///   Show(line.text);
///   shown = line.sequence;
/// }
/// ```
#pragma once

#include <common/message_log.h>
#include <vorn_lnk/intrudable>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Common::Kit {

/// Owns the log behind it and passes every operation on. Each line that passes gets a sequence
/// number, counted from 1 in the order of the file, whatever thread it comes from.
///
/// Operations of SMessageLog may be called from the threads that the log behind allows, and require
/// what they require there. The tap's own operations serve any thread.
class LogTap : public Log::SMessageLog {
 public:
  /// A line that has passed.
  struct Line {
    Log::LogKind kind = Log::LogKind::Message;  ///< by the operation that logged it
    std::uint64_t sequence = 0;                 ///< counts from 1, in the order of the file
    std::string text;                           ///< without prefix and stamp
  };

  /// Stands in front of `log` and keeps the last `keep` lines in memory; 0 keeps none. The lines
  /// that `log` already has, such as its header, do not count.
  ///
  /// Throws std::invalid_argument if `log` is null, and std::bad_alloc or std::length_error if
  /// there is no memory for so many lines. Memory for their texts is taken as they come.
  explicit LogTap(std::unique_ptr<Log::SMessageLog> log, std::size_t keep = 1'000);

  /// Ends the log behind it. What Listen has returned may outlive the tap, on any thread.
  ///
  /// REQUIRES: no log call at the same time or later, as for any log.
  ~LogTap() override;

  LogTap(const LogTap&) = delete;
  LogTap& operator=(const LogTap&) = delete;

  /// Passes an error on, keeps it and calls the listeners. Errors always pass.
  ///
  /// Throws what the log behind throws, and std::bad_alloc; the line is then neither passed on nor
  /// counted. Any thread. May take the time of the listeners too: see Listen.
  void LogError(const std::string& text) override;

  /// As LogError, for a warning. One that does not pass is only counted.
  void LogWarning(const std::string& text) override;

  /// As LogError, for a message. One that does not pass is only counted.
  void LogMessage(const std::string& text) override;

  void SetLogFile(const std::string& fileName) override;
  void SetLiveOutput(bool on) override;

  /// Passed on. Side lines are not counted and reach no listener.
  void AddSideLine(const std::string& text) override;

  void ClearSideLines() override;
  std::vector<std::string> SideLines() override;

  /// Passed on, and takes no lock of the tap's own.
  bool Flush() override;

  bool SetGuardFile(const std::string& fileName) override;

  /// Whether the tap lets lines of this kind pass and the log behind wants them.
  bool Wants(Log::LogKind kind) override;

  /// From the next line on, lets only lines pass that are at least as grave as `lowest`: Message
  /// lets all pass, as at first, and Error only errors. Throws nothing.
  void SetLowest(Log::LogKind lowest);

  /// How many lines of this kind came, including those that did not pass. The functions of
  /// `log_format.h` ask Wants first, so of theirs only those that pass count. Throws nothing.
  std::uint64_t Count(Log::LogKind kind) const;

  /// The kept lines whose sequence is above `after`, oldest first. Copies only those, so it may be
  /// called each frame. A gap before the first one means that older lines are no longer kept.
  ///
  /// Throws std::bad_alloc. Waits while a line goes into the log, sometimes for a write to the
  /// disk.
  std::vector<Line> LastLines(std::uint64_t after = 0) const;

  /// Calls `listener` with each line that passes from now on, until the last reference to the
  /// result is dropped. Several listeners are called in the order in which they were added.
  ///
  /// A listener is called inside a log call, usually the one that brought the line, one line at a
  /// time in the order of the sequence. While one thread is calling listeners, other threads leave
  /// their lines to it and go on; so if lines come faster than listeners take them, its log call
  /// lasts until there is a pause. What a listener throws is dropped.
  ///
  /// A listener may log: the line is logged and kept, but goes to no listener. It may use every
  /// operation of the tap, add listeners, and end any of them, itself included. It must not wait
  /// for anything that a logging thread may hold, such as a lock under which anybody logs.
  /// `pthread_cancel` takes effect only after it has returned.
  ///
  /// Dropping the last reference ends the listener and destroys its callable. If another thread is
  /// calling it, the drop waits, so do not hold a lock that the listener takes. A listener that
  /// ends itself is destroyed once it has returned. References may be dropped on any thread, even
  /// after the tap has ended.
  ///
  /// Throws std::bad_alloc, and has then changed nothing.
  [[nodiscard]] Vorn::IntrudablePtr<Vorn::IScoped> Listen(
      std::function<void(const Line&)> listener);

 private:
  struct State;
  class Listening;

  const std::shared_ptr<State> state;  // with the listeners, whose references may outlive the tap
};

}  // namespace Common::Kit

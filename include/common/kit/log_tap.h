/// @file
/// A log that stands before the real one and takes its place in the storage. Every line passes
/// through it, so it can leave out what is not grave enough, count the lines by kind, keep the last
/// ones for a console in the game, and tell listeners of each.
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

/// Owns the log behind it and passes every operation on. Each line that passes gets a number, its
/// sequence. It counts from 1 in the order in which the lines stand in the file, whatever threads
/// they come from.
///
/// Of the operations that it passes on, each serves the threads that it serves in the log behind,
/// and requires what it requires there. Its own operations serve any thread.
class LogTap : public Log::SMessageLog {
 public:
  /// A line that has passed.
  struct Line {
    Log::LogKind kind = Log::LogKind::Message;  ///< the operation that it was given to
    std::uint64_t sequence = 0;                 ///< counts from 1, in the order of the file
    std::string text;                           ///< as it was given, without prefix and stamp
  };

  /// Puts itself before `log` and keeps the last `keep` lines in memory, or none. The lines that
  /// `log` has already, such as its header, do not count.
  ///
  /// Throws std::invalid_argument if there is no log, and std::bad_alloc or std::length_error if
  /// there is no memory for so many lines. Room for their texts is taken as they come.
  explicit LogTap(std::unique_ptr<Log::SMessageLog> log, std::size_t keep = 1'000);

  /// Ends the log behind it. What Listen has returned may live on, on any thread.
  ///
  /// REQUIRES: as the end of any log, no log call at the same time or later.
  ~LogTap() override;

  LogTap(const LogTap&) = delete;
  LogTap& operator=(const LogTap&) = delete;

  /// Passes an error on, numbers and keeps it, and calls the listeners. An error always passes.
  ///
  /// Throws what the log behind throws, and std::bad_alloc; the line is then neither passed on nor
  /// counted. Nothing that a listener throws gets here. Any thread. Takes the time of the listeners
  /// too: see Listen.
  void LogError(const std::string& text) override;

  /// As LogError, for a warning. One that does not pass is counted, and nothing else.
  void LogWarning(const std::string& text) override;

  /// As LogError, for a message. One that does not pass is counted, and nothing else.
  void LogMessage(const std::string& text) override;

  /// Passed on.
  void SetLogFile(const std::string& fileName) override;

  /// Passed on.
  void SetLiveOutput(bool on) override;

  /// Passed on. Side lines are not counted and reach no listener.
  void AddSideLine(const std::string& text) override;

  /// Passed on.
  void ClearSideLines() override;

  /// Passed on.
  std::vector<std::string> SideLines() override;

  /// Passed on, and takes no lock of the tap's own.
  bool Flush() override;

  /// Passed on.
  bool SetGuardFile(const std::string& fileName) override;

  /// Whether lines of this kind pass here, and whether the log behind wants them.
  bool Wants(Log::LogKind kind) override;

  /// Lets pass what is as grave as `lowest` or graver, from the next line on: Message lets all
  /// through, as at first, and Error lets errors through alone. Throws nothing.
  void SetLowest(Log::LogKind lowest);

  /// How many lines of this kind came, those that did not pass included. The calls of
  /// `log_format.h` ask Wants first, so of theirs only lines that pass come here. Throws nothing.
  std::uint64_t Count(Log::LogKind kind) const;

  /// The kept lines whose sequence is above `after`, oldest first. Costs a copy of those alone, so
  /// it may be called each frame. If lines have come faster than they were asked for, the first
  /// sequence tells the gap.
  ///
  /// Throws std::bad_alloc. Waits while a line is on its way into the log, and so for a write to
  /// the disk at times.
  std::vector<Line> LastLines(std::uint64_t after = 0) const;

  /// Calls `listener` with each line that passes from now on, until the last reference to the
  /// result is dropped. Several listeners are called in the order in which they were made.
  ///
  /// A listener is called inside a log call, never at the same time as another one, and in the
  /// order of the sequence. As a rule that is the call which brought the line. While a thread calls
  /// listeners, other threads leave their lines to it and go on; so if lines come faster than the
  /// listeners are, its log call lasts until they pause. What a listener throws is dropped.
  ///
  /// A listener may log: the line goes into the log and among the last lines, and to no listener.
  /// It may use every operation of the tap, make listeners, and end any of them, itself included.
  /// It must not wait for something that the thread which logs may hold, such as a lock under which
  /// anybody logs. `pthread_cancel` waits until it has returned.
  ///
  /// The end of a listener, which is the drop of the last reference, waits for a call of it on
  /// another thread, so it must not come under a lock that the listener takes. The callable is gone
  /// when it returns; a listener that ends itself goes once it has returned. References may be
  /// dropped on any thread, also after the tap has ended.
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

#include <common/kit/log_tap.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <list>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include "../cancellation_pause.h"

namespace Common::Kit {
namespace {

using Log::LogKind;

constexpr std::size_t KindCount = 3;

std::unique_ptr<Log::SMessageLog> RequireLog(std::unique_ptr<Log::SMessageLog> log) {
  if (log == nullptr) throw std::invalid_argument("A log tap without a log behind it");
  return log;
}

}  // namespace

struct LogTap::State {
  State(std::unique_ptr<Log::SMessageLog> log, std::size_t keep)
      : log(std::move(log)), kept(keep) {}

  // LogError, LogWarning or LogMessage.
  using Operation = void (Log::SMessageLog::*)(const std::string& text);

  void Add(LogKind kind, Operation operation, const std::string& text);
  bool LetsPass(LogKind kind) const { return kind <= lowest; }
  std::uint64_t Count(LogKind kind) const;
  std::vector<Line> LastLines(std::uint64_t after);
  std::uint64_t AddListener(std::function<void(const Line&)> callback);
  void RemoveListener(std::uint64_t id) noexcept;

  std::unique_ptr<Log::SMessageLog> log;
  std::atomic<LogKind> lowest{LogKind::Message};

 private:
  struct Listener {
    std::function<void(const Line&)> callback;
    std::uint64_t madeAfter;  // the sequence of the last line that it does not hear
  };
  using Listeners = std::map<std::uint64_t, Listener>;
  using Lines = std::list<Line>;
  using Counts = std::array<std::atomic<std::uint64_t>, KindCount>;
  using Lock = std::unique_lock<std::recursive_mutex>;

  void Keep(Line& line) noexcept;
  bool IsInsideListener() const { return caller == std::this_thread::get_id(); }
  void CallListeners(Lock& lock) noexcept;
  void CallListenersWith(const Line& line, Lock& lock) noexcept;
  void Call(std::uint64_t id, const Listener& listener, const Line& line, Lock& lock) noexcept;

  Counts dropped{};
  Counts passed{};  // changed under the lock alone

  // Held while a line goes into the log and gets its sequence, so that both have one order; not
  // held while a listener runs. Recursive, so that a forbidden log call from inside the log behind
  // reaches that log's own check.
  std::recursive_mutex mutex;
  std::uint64_t lastSequence = 0;
  std::vector<Line> kept;    // a ring
  std::size_t nextKept = 0;  // where the next line goes
  std::string spare;         // a text that left the ring, kept for its memory
  Lines unheard;             // for `caller` to pass to the listeners
  Listeners listeners;
  std::uint64_t lastId = 0;

  std::thread::id caller;            // the thread that calls listeners, if one does
  std::uint64_t called = 0;          // the listener that runs, 0 if none does
  Listeners::node_type endedInside;  // that listener, if it has ended itself
  std::condition_variable_any callEnded;
};

// Allocates everything before it calls the log, so that a line is added whole or not at all.
void LogTap::State::Add(LogKind kind, Operation operation, const std::string& text) {
  const auto place = static_cast<std::size_t>(kind);
  if (!LetsPass(kind)) {
    dropped[place].fetch_add(1, std::memory_order_relaxed);
    return;
  }
  Lines toHear;
  Lock lock(mutex);
  Line line{kind, 0, std::move(spare)};
  line.text = text;
  if (!listeners.empty() && !IsInsideListener()) toHear.push_back(line);
  ((*log).*operation)(text);
  passed[place].store(passed[place].load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  line.sequence = ++lastSequence;
  if (!toHear.empty()) toHear.front().sequence = lastSequence;
  Keep(line);
  unheard.splice(unheard.end(), toHear);
  const bool isAnyoneCalling = caller != std::thread::id();
  if (!unheard.empty() && !isAnyoneCalling) CallListeners(lock);
}

// A huge text is not reused, or in time each slot of the ring would hold that much memory.
void LogTap::State::Keep(Line& line) noexcept {
  constexpr std::size_t LargestSpare = 1'000;
  if (kept.empty()) return;
  Line& oldest = kept[nextKept];
  oldest.kind = line.kind;
  oldest.sequence = line.sequence;
  oldest.text.swap(line.text);
  if (++nextKept == kept.size()) nextKept = 0;
  if (line.text.capacity() <= LargestSpare) spare.swap(line.text);
}

std::uint64_t LogTap::State::Count(LogKind kind) const {
  const auto place = static_cast<std::size_t>(kind);
  return dropped[place] + passed[place];
}

// Other threads may add lines meanwhile.
void LogTap::State::CallListeners(Lock& lock) noexcept {
  const CancellationPause pause;
  caller = std::this_thread::get_id();
  while (!unheard.empty()) {
    Lines line;
    line.splice(line.end(), unheard, unheard.begin());
    CallListenersWith(line.front(), lock);
  }
  caller = {};
}

// A listener may end others, so each is looked up after the one before it has returned.
void LogTap::State::CallListenersWith(const Line& line, Lock& lock) noexcept {
  for (auto next = listeners.begin(); next != listeners.end();) {
    const std::uint64_t id = next->first;
    if (next->second.madeAfter < line.sequence) Call(id, next->second, line, lock);
    next = listeners.upper_bound(id);
  }
}

void LogTap::State::Call(std::uint64_t id, const Listener& listener, const Line& line,
                         Lock& lock) noexcept {
  called = id;
  lock.unlock();
  try {
    listener.callback(line);
  } catch (...) {  // must not reach the caller that logs
  }
  lock.lock();
  called = 0;
  callEnded.notify_all();
  if (endedInside.empty()) return;
  Listeners::node_type ended = std::move(endedInside);
  lock.unlock();
  ended = {};  // its destructor may call back
  lock.lock();
}

std::vector<LogTap::Line> LogTap::State::LastLines(std::uint64_t after) {
  std::vector<Line> lines;
  const Lock lock(mutex);
  const std::uint64_t lost = lastSequence - std::min<std::uint64_t>(lastSequence, kept.size());
  for (std::uint64_t sequence = std::max(after, lost); sequence < lastSequence; ++sequence) {
    lines.push_back(kept[sequence % kept.size()]);
  }
  return lines;
}

std::uint64_t LogTap::State::AddListener(std::function<void(const Line&)> callback) {
  const Lock lock(mutex);
  const std::uint64_t id = lastId + 1;
  listeners.emplace(id, Listener{std::move(callback), lastSequence});
  return lastId = id;
}

// The callable is destroyed after the lock is released, since it may call back.
void LogTap::State::RemoveListener(std::uint64_t id) noexcept {
  const CancellationPause pause;
  Listeners::node_type ended;
  Lock lock(mutex);
  ended = listeners.extract(id);
  if (called != id) return;
  if (IsInsideListener()) {
    endedInside = std::move(ended);
  } else {
    callEnded.wait(lock, [&] { return called != id; });
  }
}

// What Listen returns.
class LogTap::Listening : public Vorn::IScoped {
 public:
  Listening(std::shared_ptr<State> state, std::function<void(const Line&)> callback)
      : state(std::move(state)), id(this->state->AddListener(std::move(callback))) {}
  ~Listening() override { state->RemoveListener(id); }

 private:
  const std::shared_ptr<State> state;
  const std::uint64_t id;
};

LogTap::LogTap(std::unique_ptr<Log::SMessageLog> log, std::size_t keep)
    : state(std::make_shared<State>(RequireLog(std::move(log)), keep)) {}

LogTap::~LogTap() { state->log.reset(); }

void LogTap::LogError(const std::string& text) {
  state->Add(LogKind::Error, &Log::SMessageLog::LogError, text);
}

void LogTap::LogWarning(const std::string& text) {
  state->Add(LogKind::Warning, &Log::SMessageLog::LogWarning, text);
}

void LogTap::LogMessage(const std::string& text) {
  state->Add(LogKind::Message, &Log::SMessageLog::LogMessage, text);
}

void LogTap::SetLogFile(const std::string& fileName) { state->log->SetLogFile(fileName); }
void LogTap::SetLiveOutput(bool on) { state->log->SetLiveOutput(on); }
void LogTap::AddSideLine(const std::string& text) { state->log->AddSideLine(text); }
void LogTap::ClearSideLines() { state->log->ClearSideLines(); }
std::vector<std::string> LogTap::SideLines() { return state->log->SideLines(); }
bool LogTap::Flush() { return state->log->Flush(); }
bool LogTap::SetGuardFile(const std::string& fileName) {
  return state->log->SetGuardFile(fileName);
}
bool LogTap::Wants(LogKind kind) { return state->LetsPass(kind) && state->log->Wants(kind); }

void LogTap::SetLowest(LogKind lowest) { state->lowest = lowest; }

std::uint64_t LogTap::Count(LogKind kind) const { return state->Count(kind); }

std::vector<LogTap::Line> LogTap::LastLines(std::uint64_t after) const {
  return state->LastLines(after);
}

Vorn::IntrudablePtr<Vorn::IScoped> LogTap::Listen(std::function<void(const Line&)> listener) {
  return Vorn::IntrudablePtr<Vorn::IScoped>(new Listening(state, std::move(listener)));
}

}  // namespace Common::Kit

#include <common/kit/frame_pacer.h>
#include <common/time_provider.h>

#include <limits>
#include <stdexcept>

namespace Common::Kit {
namespace {

// The clock's longest wait, and the longest signed difference of two readings.
constexpr std::uint64_t LongestTime = std::numeric_limits<std::int64_t>::max();

STimeProvider& CurrentClock() { return *Vorn::Service<STimeProvider>::Get(); }

std::uint64_t RequireLength(std::uint64_t interval) {
  if (interval == 0) throw std::invalid_argument("The interval of a frame pacer is 0");
  return interval;
}

}  // namespace

struct FramePacer::State {
  std::uint64_t SpentAt(std::uint64_t now);
  void EndFrameInTime() { frameStart += interval; }
  void EndFrameLate(std::uint64_t late, std::uint64_t now);

  std::uint64_t interval = 0;
  std::uint64_t frameStart = 0;  // the next deadline is one interval later
  std::uint64_t missed = 0;
};

// How much of the frame has passed. Starts the frame again if the clock was set back or the
// interval is longer than the clock waits.
std::uint64_t FramePacer::State::SpentAt(std::uint64_t now) {
  const std::uint64_t spent = now - frameStart;
  const bool wasSetBack = spent > LongestTime;
  if (!wasSetBack && interval <= LongestTime) return spent;
  frameStart = now;
  return 0;
}

void FramePacer::State::EndFrameLate(std::uint64_t late, std::uint64_t now) {
  if (late <= interval) {
    frameStart += interval;
    return;
  }
  frameStart = now;
  missed += late / interval;
}

FramePacer::FramePacer(std::uint64_t interval)
    : state(new State{RequireLength(interval), CurrentClock().Now()}) {}

FramePacer::~FramePacer() = default;

std::uint64_t FramePacer::WaitForNext() {
  STimeProvider& clock = CurrentClock();
  const std::uint64_t now = clock.Now();
  const std::uint64_t spent = state->SpentAt(now);
  if (spent <= state->interval) {
    clock.Wait(state->interval - spent);
    state->EndFrameInTime();
    return 0;
  }
  const std::uint64_t late = spent - state->interval;
  state->EndFrameLate(late, now);
  return late;
}

void FramePacer::SetInterval(std::uint64_t interval) { state->interval = RequireLength(interval); }

std::uint64_t FramePacer::Missed() const { return state->missed; }

}  // namespace Common::Kit

#include <common/kit/game_clock.h>
#include <common/time_provider.h>

#include <cmath>
#include <limits>
#include <mutex>
#include <stdexcept>

namespace Common::Kit {
namespace {

constexpr std::uint64_t LatestTime = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t LongestStep = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t LongestStretch = 3'600'000'000;  // a double holds it to 2^-21 us
constexpr double TimesThereAre = 0x1p64;

std::uint64_t ReadClock() { return Vorn::Service<STimeProvider>::Get()->Now(); }

// A time of the game: whole microseconds, and a part of the next one.
struct GameTime {
  std::uint64_t whole = 0;
  double part = 0.0;
};

GameTime Add(const GameTime& time, double microseconds) {
  const double sum = time.part + microseconds;
  if (sum >= TimesThereAre) return {LatestTime, 0.0};
  const auto added = static_cast<std::uint64_t>(sum);
  if (added > LatestTime - time.whole) return {LatestTime, 0.0};
  return {time.whole + added, sum - static_cast<double>(added)};
}

}  // namespace

// Times are computed from an anchor, which moves only on a change of rate, at the end of a pause,
// when the clock is set back, and about once an hour. So rounding does not add up, and a later
// reading never gives an earlier time.
struct GameClock::State {
  // The time of the game at a reading of the clock.
  struct Anchor {
    std::uint64_t reading = 0;
    GameTime time;
  };

  void TakeReading();
  void GoOnFrom(std::uint64_t reading);
  GameTime Time() const;

  std::mutex mutex;
  std::uint64_t lastReading = ReadClock();
  Anchor anchor{lastReading, {}};
  double rate = 1.0;
  bool isPaused = false;
};

void GameClock::State::TakeReading() {
  const std::uint64_t reading = ReadClock();
  const bool wasSetBack = reading - lastReading > LongestStep;
  if (wasSetBack) GoOnFrom(reading);
  lastReading = reading;
  if (reading - anchor.reading > LongestStretch) GoOnFrom(reading);
}

// Moves the anchor to the present time of the game, at this reading.
void GameClock::State::GoOnFrom(std::uint64_t reading) {
  anchor = {reading, Time()};
  lastReading = reading;
}

GameTime GameClock::State::Time() const {
  return Add(anchor.time, static_cast<double>(lastReading - anchor.reading) * rate);
}

GameClock::GameClock() : state(std::make_unique<State>()) {}

GameClock::~GameClock() = default;

std::uint64_t GameClock::Now() const {
  const std::lock_guard lock(state->mutex);
  if (!state->isPaused) state->TakeReading();
  return state->Time().whole;
}

void GameClock::Pause() {
  const std::lock_guard lock(state->mutex);
  if (state->isPaused) return;
  state->TakeReading();
  state->isPaused = true;
}

void GameClock::Resume() {
  const std::lock_guard lock(state->mutex);
  if (!state->isPaused) return;
  state->GoOnFrom(ReadClock());
  state->isPaused = false;
}

bool GameClock::IsPaused() const {
  const std::lock_guard lock(state->mutex);
  return state->isPaused;
}

void GameClock::SetRate(double rate) {
  if (!(rate > 0.0) || !std::isfinite(rate)) {
    throw std::invalid_argument("The rate of a game clock is not a finite number above 0");
  }
  const std::lock_guard lock(state->mutex);
  if (!state->isPaused) state->TakeReading();
  state->GoOnFrom(state->lastReading);
  state->rate = rate;
}

}  // namespace Common::Kit

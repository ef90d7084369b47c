#include <vorn_lnk/guid>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>

namespace Vorn {
namespace {

// A version 7 GUID starts with 48 bits of milliseconds since 1970. The 12 bits behind the version
// are free; here they divide the millisecond.
constexpr std::uint64_t TicksPerMillisecond = 1 << 12;
constexpr std::uint64_t NanosecondsPerMillisecond = 1'000'000;

std::atomic<std::uint64_t> lastTick = 0;

std::uint64_t ReadTick() {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(sinceEpoch);
  const auto count = static_cast<std::uint64_t>(std::max<std::int64_t>(nanoseconds.count(), 0));
  const std::uint64_t fraction =
      count % NanosecondsPerMillisecond * TicksPerMillisecond / NanosecondsPerMillisecond;
  return count / NanosecondsPerMillisecond * TicksPerMillisecond + fraction;
}

// Returns each tick once, so GUIDs ascend even if the clock stands still or is set back.
std::uint64_t TakeTick() {
  const std::uint64_t now = ReadTick();
  std::uint64_t last = lastTick.load(std::memory_order_relaxed);
  std::uint64_t taken = std::max(now, last + 1);
  while (!lastTick.compare_exchange_weak(last, taken, std::memory_order_relaxed)) {
    taken = std::max(now, last + 1);
  }
  return taken;
}

std::uint8_t ByteOf(std::uint64_t number, int position) {
  return static_cast<std::uint8_t>(number >> (8 * position));
}

}  // namespace

std::string CreateGuid() {
  boost::uuids::uuid guid = boost::uuids::random_generator()();
  constexpr std::uint64_t Version = 7;
  const std::uint64_t tick = TakeTick();
  const std::uint64_t milliseconds = tick / TicksPerMillisecond;
  const std::uint64_t fraction = tick % TicksPerMillisecond;
  const std::uint64_t opening = milliseconds << 16 | Version << 12 | fraction;
  for (int position = 0; position < 8; ++position) {
    guid.begin()[position] = ByteOf(opening, 7 - position);
  }
  return boost::uuids::to_string(guid);  // its other bits are random
}

}  // namespace Vorn

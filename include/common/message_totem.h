// A record of values that change only at the frame edge: what is written during one frame is read
// in the next, by everyone alike. It stands in the storage while a frame utility lives:
//
//   auto* totem = Vorn::Singleton<Common::SMessageTotem, std::shared_ptr>::Get();
//   totem->byteOne.Write(1);  // read as 1 from the next tick on
//
// Plain memory without a lock: for the thread that ticks.
#pragma once

#include <vorn_lnk/singleton>

#include <cstddef>
#include <cstdint>

namespace Common {

template <class T>
struct TotemLatch {
  T pending{};
  bool isPending = false;
  T current{};

  // The value of the present frame.
  const T& Read() const { return current; }

  // The value of the next frame. The last write of a frame wins.
  void Write(const T& value) {
    pending = value;
    isPending = true;
  }

  // Makes a waiting value current. The frame utility does so at each frame edge.
  void Commit() {
    if (!isPending) return;
    current = pending;
    isPending = false;
  }
};

// What the wider values consist of is the hosts' business; the library copies them whole.
struct FourByteValue {
  std::uint16_t parts[2];
};

struct TwelveByteValue {
  std::uint32_t parts[3];
};

struct EightByteValue {
  std::uint32_t parts[2];
};

// Hosts that were built apart share this memory, so the order and the widths of the fields never
// change. `frameNumber` counts the ticks, and `fourByteValuePrevious` is what `fourByteValue` was a
// frame ago; both belong to the frame utility, which overwrites what a host writes there.
struct VORN_LNK_SHARED_TYPE SMessageTotem {
  TotemLatch<std::uint64_t> frameNumber;
  TotemLatch<std::uint8_t> byteOne;
  TotemLatch<FourByteValue> fourByteValue;
  TotemLatch<FourByteValue> fourByteValuePrevious;
  TotemLatch<std::uint8_t> byteTwo;
  TotemLatch<TwelveByteValue> twelveByteValue;
  TotemLatch<std::uint8_t> byteThree;
  TotemLatch<EightByteValue> eightByteValue;
};

namespace Detail {

template <class T>
constexpr bool LatchHasLayout(std::size_t size, std::size_t alignment, std::size_t latchSize) {
  using Latch = TotemLatch<T>;
  return sizeof(T) == size && alignof(T) == alignment && sizeof(bool) == 1 &&
         sizeof(Latch) == latchSize && alignof(Latch) == alignment &&
         offsetof(Latch, pending) == 0 && offsetof(Latch, isPending) == size &&
         offsetof(Latch, current) == size + alignment;
}

static_assert(LatchHasLayout<std::uint64_t>(8, 8, 24));
static_assert(LatchHasLayout<std::uint8_t>(1, 1, 3));
static_assert(LatchHasLayout<FourByteValue>(4, 2, 10));
static_assert(LatchHasLayout<TwelveByteValue>(12, 4, 28));
static_assert(LatchHasLayout<EightByteValue>(8, 4, 20));

static_assert(offsetof(SMessageTotem, frameNumber) == 0);
static_assert(offsetof(SMessageTotem, byteOne) == 24);
static_assert(offsetof(SMessageTotem, fourByteValue) == 28);
static_assert(offsetof(SMessageTotem, fourByteValuePrevious) == 38);
static_assert(offsetof(SMessageTotem, byteTwo) == 48);
static_assert(offsetof(SMessageTotem, twelveByteValue) == 52);
static_assert(offsetof(SMessageTotem, byteThree) == 80);
static_assert(offsetof(SMessageTotem, eightByteValue) == 84);
static_assert(sizeof(SMessageTotem) == 104 && alignof(SMessageTotem) == 8);

}  // namespace Detail
}  // namespace Common

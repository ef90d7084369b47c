/// @file
/// A record of values that change only at the frame edge: what is written during one frame is read
/// in the next, by everyone alike. It is in the storage while a frame utility lives.
///
/// ```cpp
/// auto* totem = Vorn::Service<Common::SMessageTotem>::Get();
/// totem->byteOne.Write(1);  // read as 1 from the next tick on
/// ```
///
/// It is plain memory without a lock, for the thread that ticks. A pointer to it dangles once the
/// frame utility has ended.
#pragma once

#include <vorn_lnk/singleton>

#include <cstddef>
#include <cstdint>

namespace Common {

/// One value of the record: the one of the current frame, and one that may wait for the next.
template <class T>
struct TotemLatch {
  T pending{};             ///< the value of the next frame, where `isPending` is set
  bool isPending = false;  ///< whether a value waits for the frame edge
  T current{};             ///< the value of the current frame

  /// Returns the value of the current frame.
  const T& Read() const { return current; }

  /// Sets the value of the next frame; the last write of a frame wins.
  void Write(const T& value) {
    pending = value;
    isPending = true;
  }

  /// Makes a waiting value current. The frame utility does so at each frame edge.
  void Commit() {
    if (!isPending) return;
    current = pending;
    isPending = false;
  }
};

/// Four bytes of alignment 2. Their meaning is up to the hosts: the library copies them whole.
struct FourByteValue {
  std::uint16_t parts[2];  ///< the hosts' own
};

/// Twelve bytes of alignment 4, copied whole as `FourByteValue` is.
struct TwelveByteValue {
  std::uint32_t parts[3];  ///< the hosts' own
};

/// Eight bytes of alignment 4, copied whole as `FourByteValue` is.
struct EightByteValue {
  std::uint32_t parts[2];  ///< the hosts' own
};

/// The record. Hosts that were built apart share its memory, so the order and the widths of the
/// fields never change. What a host writes into the two fields of the frame utility is overwritten.
struct VORN_LNK_SHARED_TYPE SMessageTotem {
  TotemLatch<std::uint64_t> frameNumber;            ///< the utility's: how many ticks there were
  TotemLatch<std::uint8_t> byteOne;                 ///< the hosts' own
  TotemLatch<FourByteValue> fourByteValue;          ///< the hosts' own
  TotemLatch<FourByteValue> fourByteValuePrevious;  ///< the utility's: `fourByteValue` a frame ago
  TotemLatch<std::uint8_t> byteTwo;                 ///< the hosts' own
  TotemLatch<TwelveByteValue> twelveByteValue;      ///< the hosts' own
  TotemLatch<std::uint8_t> byteThree;               ///< the hosts' own
  TotemLatch<EightByteValue> eightByteValue;        ///< the hosts' own
};

namespace Detail {

// Not offsetof: Microsoft's macro is no constant expression.
template <class T>
constexpr bool LatchHasLayout(std::size_t size, std::size_t alignment, std::size_t latchSize) {
  using Latch = TotemLatch<T>;
  return sizeof(T) == size && alignof(T) == alignment && sizeof(bool) == 1 &&
         sizeof(Latch) == latchSize && alignof(Latch) == alignment &&
         __builtin_offsetof(Latch, pending) == 0 && __builtin_offsetof(Latch, isPending) == size &&
         __builtin_offsetof(Latch, current) == size + alignment;
}

static_assert(LatchHasLayout<std::uint64_t>(8, 8, 24));
static_assert(LatchHasLayout<std::uint8_t>(1, 1, 3));
static_assert(LatchHasLayout<FourByteValue>(4, 2, 10));
static_assert(LatchHasLayout<TwelveByteValue>(12, 4, 28));
static_assert(LatchHasLayout<EightByteValue>(8, 4, 20));

static_assert(__builtin_offsetof(SMessageTotem, frameNumber) == 0);
static_assert(__builtin_offsetof(SMessageTotem, byteOne) == 24);
static_assert(__builtin_offsetof(SMessageTotem, fourByteValue) == 28);
static_assert(__builtin_offsetof(SMessageTotem, fourByteValuePrevious) == 38);
static_assert(__builtin_offsetof(SMessageTotem, byteTwo) == 48);
static_assert(__builtin_offsetof(SMessageTotem, twelveByteValue) == 52);
static_assert(__builtin_offsetof(SMessageTotem, byteThree) == 80);
static_assert(__builtin_offsetof(SMessageTotem, eightByteValue) == 84);
static_assert(sizeof(SMessageTotem) == 104 && alignof(SMessageTotem) == 8);

}  // namespace Detail
}  // namespace Common

#pragma once

#include <common/frame_utility.h>

#include <cstddef>
#include <cstdint>
#include <new>

#include "block_pool.h"
#include "reactor_list.h"

namespace Common {

class FrameUtilityImpl;

// Lives in its utility's memory, and is in its list for its whole life.
class FrameReactorImpl final : public IFrameReactor, public ReactorList::Hook {
 public:
  ~FrameReactorImpl() override;

  static void* operator new(std::size_t size, BlockPool& memory);
  static void operator delete(void* block, BlockPool& memory);  // if the constructor throws
  static void operator delete(FrameReactorImpl* reactor, std::destroying_delete_t tag);

  void SetCallback(FrameCallback newCallback) override;

  // Runs the callback if its interval has passed. An interval of 0 needs no clock.
  void React(std::uint64_t frameNumber);

 private:
  friend class FrameUtilityImpl;

  FrameReactorImpl(FrameUtilityImpl* owner, std::uint64_t interval);

  void Clear() override;

  FrameCallback callback;
  FrameUtilityImpl* const owner;
  const std::uint64_t interval;
  std::uint64_t lastFired = 0;
};

}  // namespace Common

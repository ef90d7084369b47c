#pragma once

#include <common/frame_utility.h>

#include <cstddef>
#include <cstdint>
#include <new>

#include "reactor_list.h"
#include "reactor_memory.h"

namespace Common {

class FrameUtilityImpl;

// Stands in the list of its utility from its constructor to its destructor, and lives in the memory
// of that utility.
class FrameReactorImpl final : public IFrameReactor, public ReactorList::Place {
 public:
  ~FrameReactorImpl() override;

  static void* operator new(std::size_t size, ReactorMemory& memory);
  static void operator delete(void* block, ReactorMemory& memory);  // where the constructor throws
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

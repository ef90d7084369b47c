#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <utility>

#include "block_pool.h"

namespace Common {

class FrameReactorImpl;

// The reactors of one utility, none of them owned.
//
// Invariant: the list links exactly the reactors of the map, in ascending order of address. The map
// finds the place of a new reactor; a tick walks the list, which touches nothing but the reactors.
class ReactorList {
 private:
  using Entry = std::pair<const std::uintptr_t, FrameReactorImpl*>;
  using Entries = std::map<std::uintptr_t, FrameReactorImpl*, std::less<>, BlockAllocator<Entry>>;

 public:
  // What ties a reactor to the list: a base of it, which the list alone reads and writes.
  class Hook {
    friend class ReactorList;

    Entries::iterator entry;
    FrameReactorImpl* preceding = nullptr;
    FrameReactorImpl* following = nullptr;
  };

  ReactorList();
  ~ReactorList();

  ReactorList(const ReactorList&) = delete;
  ReactorList& operator=(const ReactorList&) = delete;

  // Changes nothing where it throws std::bad_alloc.
  void Enter(FrameReactorImpl* reactor);
  void Remove(const FrameReactorImpl* reactor);

  // Lets each reactor react. Callbacks may enter reactors, and remove all but the running one.
  void React(std::uint64_t frameNumber);

  // Whether the callback of this reactor is running.
  bool IsRunning(const FrameReactorImpl* reactor) const { return reactor == running; }

 private:
  void Link(FrameReactorImpl* from, FrameReactorImpl* to);

  BlockPool entryMemory;
  Entries entries;
  FrameReactorImpl* first = nullptr;
  const FrameReactorImpl* running = nullptr;
};

}  // namespace Common

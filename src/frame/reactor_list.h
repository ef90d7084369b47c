#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <utility>

#include "block_pool.h"

namespace Common {

class FrameReactorImpl;

// The reactors of one utility, none of them owned. The list links exactly the reactors of the map,
// in ascending order of address. The map finds where a new reactor goes; a tick walks the list,
// which touches nothing but the reactors.
class ReactorList {
 private:
  using Entry = std::pair<const std::uintptr_t, FrameReactorImpl*>;
  using Entries = std::map<std::uintptr_t, FrameReactorImpl*, std::less<>, BlockAllocator<Entry>>;

 public:
  // A base of each reactor, for the list's own use.
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

  // Changes nothing if it throws std::bad_alloc.
  void Enter(FrameReactorImpl* reactor);
  void Remove(const FrameReactorImpl* reactor);

  // Callbacks may enter reactors, and remove all but the running one.
  void React(std::uint64_t frameNumber);

  bool IsRunning(const FrameReactorImpl* reactor) const { return reactor == running; }

 private:
  void Link(FrameReactorImpl* from, FrameReactorImpl* to);

  BlockPool entryMemory;
  Entries entries;
  FrameReactorImpl* first = nullptr;
  const FrameReactorImpl* running = nullptr;
};

}  // namespace Common

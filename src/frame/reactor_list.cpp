#include "reactor_list.h"

#include <cassert>
#include <iterator>

#include "frame_reactor.h"

namespace Common {

ReactorList::ReactorList(ReactorMemory* memory) : entries(ReactorAllocator<Entry>(memory)) {}

ReactorList::~ReactorList() {
  assert(entries.empty() && "every reactor is released before its frame utility ends");
}

void ReactorList::Enter(FrameReactorImpl* reactor) {
  const auto entry = entries.emplace(reinterpret_cast<std::uintptr_t>(reactor), reactor).first;
  FrameReactorImpl* const before = Before(entry);
  reactor->entry = entry;
  reactor->following = before == nullptr ? first : before->following;
  Link(before, reactor);
}

void ReactorList::Remove(const FrameReactorImpl* reactor) {
  Link(Before(reactor->entry), reactor->following);
  entries.erase(reactor->entry);
}

void ReactorList::React(std::uint64_t frameNumber) {
  // Also where a callback throws.
  struct Unmark {
    ~Unmark() { running = nullptr; }
    const FrameReactorImpl*& running;
  } const atEnd{running};

  for (FrameReactorImpl* reactor = first; reactor != nullptr; reactor = reactor->following) {
    running = reactor;
    reactor->React(frameNumber);
  }
}

// The reactor in front of this entry, or none.
FrameReactorImpl* ReactorList::Before(Entries::iterator entry) {
  return entry == entries.begin() ? nullptr : std::prev(entry)->second;
}

// Lets `next` follow the reactor, or stand first where there is none.
void ReactorList::Link(FrameReactorImpl* reactor, FrameReactorImpl* next) {
  if (reactor == nullptr) {
    first = next;
  } else {
    reactor->following = next;
  }
}

}  // namespace Common

#include "reactor_list.h"

#include <cassert>
#include <cstddef>
#include <iterator>

#include "frame_reactor.h"
#include "scope_exit.h"

namespace Common {
namespace {

// Prefetches by address, since following the links would wait for each reactor in turn. Most
// reactors lie side by side in the order of the walk; elsewhere a wrong address does no harm.
void FetchAhead([[maybe_unused]] const FrameReactorImpl* reactor) {
#ifdef __GNUC__
  constexpr std::size_t Ahead = 8;
  constexpr std::size_t CacheLine = 64;
  const char* const place = reinterpret_cast<const char*>(reactor) + Ahead * sizeof *reactor;
  __builtin_prefetch(place);
  __builtin_prefetch(place + CacheLine);
#endif
}

}  // namespace

ReactorList::ReactorList() : entries(BlockAllocator<Entry>(&entryMemory)) {}

ReactorList::~ReactorList() {
  assert(entries.empty() && "every reactor is released before its frame utility ends");
}

void ReactorList::Enter(FrameReactorImpl* reactor) {
  const auto entry = entries.emplace(reinterpret_cast<std::uintptr_t>(reactor), reactor).first;
  FrameReactorImpl* const before = entry == entries.begin() ? nullptr : std::prev(entry)->second;
  FrameReactorImpl* const after = before == nullptr ? first : before->following;
  reactor->entry = entry;
  Link(before, reactor);
  Link(reactor, after);
}

void ReactorList::Remove(const FrameReactorImpl* reactor) {
  Link(reactor->preceding, reactor->following);
  entries.erase(reactor->entry);
}

void ReactorList::React(std::uint64_t frameNumber) {
  const ScopeExit atEnd([this] { running = nullptr; });
  for (FrameReactorImpl* reactor = first; reactor != nullptr; reactor = reactor->following) {
    running = reactor;
    FetchAhead(reactor);
    reactor->React(frameNumber);
  }
}

// If `from` is null, `to` becomes the first; if `to` is null, `from` becomes the last.
void ReactorList::Link(FrameReactorImpl* from, FrameReactorImpl* to) {
  if (from == nullptr) {
    first = to;
  } else {
    from->following = to;
  }
  if (to != nullptr) to->preceding = from;
}

}  // namespace Common

#pragma once

#include <utility>

namespace Common {

// Runs its action when its scope is left, by return or by exception. A handler that throws again
// would catch an exception that nobody else does. Without one, the process ends where that was
// thrown, with the callback still on the stack.
template <class Action>
class ScopeExit {
 public:
  explicit ScopeExit(Action action) : action(std::move(action)) {}
  ~ScopeExit() { action(); }

  ScopeExit(const ScopeExit&) = delete;
  ScopeExit& operator=(const ScopeExit&) = delete;

 private:
  const Action action;
};

}  // namespace Common

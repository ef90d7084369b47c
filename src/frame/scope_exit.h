#pragma once

#include <utility>

namespace Common {

// Runs its action when its scope is left, on return or exception. Unlike a handler that throws
// again it leaves a failure that nobody catches where it was thrown: the process then ends with the
// callback still on the stack.
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

#pragma once

#include <utility>

namespace Common {

// Runs its action on return or exception. Unlike a handler that rethrows, it lets an uncaught
// exception end the process at its throw, with the callback still on the stack.
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

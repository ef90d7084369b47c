#pragma once

#include <cstdint>
#include <memory>

namespace Common::Bench {

// Counts on the top of a stack, behind a virtual call. Stands in a library of its own, so that the
// compiler cannot see through the call and the call goes as far as one of a service's.
struct Counter {
  virtual ~Counter() = default;
  virtual std::int64_t Next() = 0;
};

std::shared_ptr<Counter> MakeCounter();

}  // namespace Common::Bench

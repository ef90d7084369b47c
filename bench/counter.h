#pragma once

#include <cstdint>
#include <memory>

namespace Common::Bench {

// Counts on the top of a stack, behind a virtual call into a library of its own, as a service's is.
struct Counter {
  virtual ~Counter() = default;
  virtual std::int64_t Next() = 0;
};

std::shared_ptr<Counter> MakeCounter();

}  // namespace Common::Bench

#include "counter.h"

#include <vector>

namespace Common::Bench {
namespace {

struct CounterStack : Counter {
  std::int64_t Next() override { return ++counters.back(); }

  std::vector<std::int64_t> counters{0};
};

}  // namespace

std::shared_ptr<Counter> MakeCounter() { return std::make_shared<CounterStack>(); }

}  // namespace Common::Bench

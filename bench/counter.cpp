#include "counter.h"

namespace Common::Bench {
namespace {

struct PlainCounter : Counter {
  std::int64_t Next() override { return ++last; }

  std::int64_t last = 0;
};

}  // namespace

std::shared_ptr<Counter> MakeCounter() { return std::make_shared<PlainCounter>(); }

}  // namespace Common::Bench

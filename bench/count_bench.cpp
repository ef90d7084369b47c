// One reference copied and dropped, alone and by four threads on the same object.
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <memory>

#include "bench.h"

namespace Common::Bench {
namespace {

struct Ours : Vorn::IScoped {};

struct Boosts : boost::intrusive_ref_counter<Boosts> {
  virtual ~Boosts() = default;
};

struct Plain {
  virtual ~Plain() = default;
};

template <class Pointer>
void RegisterPointer(const std::string& who, const Pointer& pointer) {
  for (const int threads : {1, 4}) {
    const auto run = [pointer](benchmark::State& state) {
      for (auto _ : state) {
        const Pointer copy(pointer);
        benchmark::DoNotOptimize(copy.get());
      }
    };
    benchmark::RegisterBenchmark(Name("copy_and_drop", threads, who).c_str(), run)
        ->Threads(threads)
        ->UseRealTime();
  }
}

}  // namespace

void RegisterCount() {
  RegisterPointer("ours", Vorn::IntrudablePtr<Ours>(new Ours));
  RegisterPointer("intrusive_ptr", boost::intrusive_ptr<Boosts>(new Boosts));
  RegisterPointer("shared_ptr", std::make_shared<Plain>());
}

}  // namespace Common::Bench

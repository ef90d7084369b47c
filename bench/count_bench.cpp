// One reference copied and dropped, alone and by four threads on the same object.
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <atomic>
#include <cstdint>

#include "bench.h"

namespace Common::Bench {
namespace {

struct Ours : Vorn::IScoped {};

struct Boosts : boost::intrusive_ref_counter<Boosts> {
  virtual ~Boosts() = default;
};

// The floor, without the call of `OnReleased`: takes a reference away while a release counts as
// under way, then ends the release.
class ByHand {
 public:
  explicit ByHand(std::atomic<std::uint64_t>* state) : state(state) { state->fetch_add(1); }
  ByHand(const ByHand& other) : ByHand(other.state) {}
  ~ByHand() {
    state->fetch_add(OneRelease - 1);
    state->fetch_sub(OneRelease);
  }

  ByHand& operator=(const ByHand&) = delete;

  const void* get() const { return state; }

 private:
  static constexpr std::uint64_t OneRelease = 1ULL << 32;

  std::atomic<std::uint64_t>* const state;
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
  static std::atomic<std::uint64_t> state{0};
  RegisterPointer("floor", ByHand(&state));
}

}  // namespace Common::Bench

#include <common/application_error_exception.h>
#include <common/seed_provider.h>
#include <common/time_provider.h>

namespace Common {
namespace {

constexpr int BitsPerStep = 16;
constexpr int StepsPerNumber = 2;
constexpr int StepsAtManufacture = 4;

const Vorn::Service<STimeProvider> timeProvider;

std::int32_t instanceCount = 0;

// The numbers must not change: hosts repeat a run by its seed. For the one state that makes the
// modulus zero, the remainder is the dividend.
std::uint64_t NextState(std::uint64_t state) {
  const std::uint64_t dividend = state * 121483647 + 551201;
  const std::uint64_t modulus = state * 995613 + 94553;
  const std::uint64_t remainder = modulus != 0 ? dividend % modulus : dividend;
  return remainder * 1232133 - 3321350;
}

bool HasTimeProvider() {
  try {
    timeProvider.Get();
    return true;
  } catch (const Vorn::MissingInstance&) {
    return false;
  }
}

}  // namespace

class SeedProviderImpl final : public SSeedProvider {
 public:
  SeedProviderImpl() { Advance(StepsAtManufacture); }

  void SetSeed(std::uint64_t newSeed) override {
    seed = newSeed;
    value = NextState(newSeed);
  }

  std::uint64_t NextSeed() override {
    Advance(StepsPerNumber);
    return value;
  }

 private:
  void Advance(int steps) {
    for (; steps > 0; --steps) {
      value <<= BitsPerStep;
      value ^= static_cast<std::uint64_t>(sign) * NextAddend();
      sign = -sign;
    }
  }

  std::uint64_t NextAddend() {
    if (seed == 0) return timeProvider.Get()->Now();
    seed = NextState(seed);
    return seed;
  }

  std::uint64_t seed = 0;  // 0: the numbers come from the clock
  std::uint64_t value = 0;
  std::int32_t sign = 1;
};

SSeedProvider* ManufactureSeedProvider() {
  ++instanceCount;
  if (instanceCount > 1) throw ApplicationErrorException("Multiple instances of SSeedProvider");
  if (!HasTimeProvider()) throw ApplicationErrorException("SSeedProvider requires STimeProvider!");
  return new SeedProviderImpl;
}

}  // namespace Common

#include <common/application_error_exception.h>
#include <common/seed_provider.h>
#include <common/time_provider.h>

namespace Common {
namespace {

constexpr int BitsPerStep = 16;
constexpr int StepsPerNumber = 2;
constexpr int StepsAtManufacture = 4;

const Vorn::Singleton<STimeProvider, std::shared_ptr> timeProvider;

std::int32_t instanceCount = 0;

// One state makes the modulus zero; its remainder is the dividend itself.
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
      const std::uint64_t addend = seed == 0 ? timeProvider.Get()->Now() : seed = NextState(seed);
      value ^= static_cast<std::uint64_t>(sign) * addend;
      sign = -sign;
    }
  }

  std::uint64_t seed = 0;  // 0 asks the clock
  std::uint64_t value = 0;
  std::int32_t sign = 1;
};

SSeedProvider* ManufactureSeedProvider() {
  if (++instanceCount > 1) throw ApplicationErrorException("Multiple instances of SSeedProvider");
  if (!HasTimeProvider()) throw ApplicationErrorException("SSeedProvider requires STimeProvider!");
  return new SeedProviderImpl;
}

}  // namespace Common

// 64-bit numbers to seed random generators with: mixed from readings of the engine clock, so that
// runs differ, or from a fixed recurrence, so that they do not. Not for secrets.
//
//   const std::unique_ptr<Common::SSeedProvider> seeds(Common::ManufactureSeedProvider());
//   seeds->SetSeed(7);  // the same numbers in every run
//   std::mt19937_64 random(seeds->NextSeed());
#pragma once

#include <common/common_services_export.h>
#include <vorn_lnk/shared_type>

#include <cstdint>

namespace Common {

// For one thread at a time.
struct VORN_LNK_SHARED_TYPE SSeedProvider {
  virtual ~SSeedProvider() = default;

  // From here on the numbers follow from `seed` alone: equal seeds, equal numbers. 0 goes back to
  // the clock.
  virtual void SetSeed(std::uint64_t seed) = 0;

  // The next number. Without a seed it reads the clock in the storage twice, and throws
  // Vorn::MissingInstance if there is none; with one it needs no clock.
  virtual std::uint64_t NextSeed() = 0;
};

// Makes the process's one seed provider, which the caller owns. Throws ApplicationErrorException if
// no clock stands in the storage, and on every call but the first: a call that failed counts. For
// one thread at a time.
COMMON_SERVICES_EXPORT SSeedProvider* ManufactureSeedProvider();

}  // namespace Common

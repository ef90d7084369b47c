/// @file
/// Numbers of 64 bits to seed random generators with. They are mixed from readings of the engine's
/// clock, so that runs differ, or follow from a seed, so that runs are alike. Not for secrets.
///
/// ```cpp
/// const std::unique_ptr<Common::SSeedProvider> seeds(Common::ManufactureSeedProvider());
/// seeds->SetSeed(7);  // the same numbers in every run
/// std::mt19937_64 random(seeds->NextSeed());
/// ```
#pragma once

#include <common/common_services_export.h>
#include <vorn_lnk/shared_type>

#include <cstdint>

namespace Common {

/// The source of the numbers. It serves one thread at a time.
struct VORN_LNK_SHARED_TYPE SSeedProvider {
  /// Ends the service. A second one cannot be made in the same process.
  virtual ~SSeedProvider() = default;

  /// Makes all further numbers follow from `seed`: equal seeds give equal numbers. 0 goes back to
  /// readings of the clock.
  virtual void SetSeed(std::uint64_t seed) = 0;

  /// Makes the next number. Without a seed it reads the clock in the storage twice, and throws
  /// Vorn::MissingInstance if there is none. With a seed it needs no clock.
  virtual std::uint64_t NextSeed() = 0;
};

/// Makes the process's one seed provider, which the caller owns. Reads the clock in the storage.
///
/// Throws ApplicationErrorException if the storage holds no clock, and on every call but the first,
/// also if that one failed or its provider has ended; and std::bad_alloc. For one thread at a time.
[[nodiscard]] COMMON_SERVICES_EXPORT SSeedProvider* ManufactureSeedProvider();

}  // namespace Common

/// @file
/// Numbers that are unique within one run of the process, alone or as a prefix that makes a name
/// unique: `/$17#crane`.
///
/// ```cpp
/// const std::unique_ptr<Common::Unique::SRuntimeUniqueId> ids(Common::Unique::Manufacture());
/// ids->MakeUniqueName("crane");      // /$1#crane
/// ids->MakeUniqueName("/$1#crane");  // /$2#crane: the copy of a named thing gets its own name
/// ```
///
/// A prefix is the start of a name from `/$` to the first `#` behind it, whatever lies between:
/// `/$17#`, `/$#` and `/$quay#` are prefixes. `/$17` is none, because it has no `#`, and neither is
/// the middle of `a/$17#b`.
#pragma once

#include <common/common_services_export.h>
#include <vorn_lnk/intrudable>

#include <cstdint>
#include <string>
#include <string_view>

namespace Common {

/// Keeps the id service on a counter of the caller's choice until its last reference goes.
///
/// REQUIRES: it ends before the service does, and overrides end in the reverse order of their
/// making. The last reference goes on the thread that the service serves.
struct VORN_LNK_SHARED_TYPE IScopedIdOverride : Vorn::Intrudable {};

}  // namespace Common

namespace Common::Unique {

/// The id service. It serves one thread at a time, and its operations throw nothing but
/// `std::bad_alloc`.
struct VORN_LNK_SHARED_TYPE SRuntimeUniqueId {
  /// Ends the service. A second one cannot be made in the same process. REQUIRES: no override is
  /// left.
  virtual ~SRuntimeUniqueId() = default;

  /// Takes the next id and returns it. The first is 1; after the largest comes the smallest.
  virtual std::int64_t NextId() = 0;

  /// Takes the next id and returns it as a prefix: `/$17#`. Its digits are those of `IdToString`.
  virtual std::string NextIdString() = 0;

  /// Returns the decimal text of `id`, grouped as the global C++ locale groups digits. Takes no id.
  virtual std::string IdToString(std::int64_t id) = 0;

  /// Returns the decimal text of `id` with `text` directly behind it: `17crane`. Takes no id.
  virtual std::string JoinIdAndText(std::string_view text, std::int64_t id) = 0;

  /// Takes one id and returns `name` behind a prefix with it, in place of all prefixes that the
  /// name opens with. An empty name, or one that is nothing but prefixes, counts as `/object`.
  virtual std::string MakeUniqueName(std::string_view name) = 0;

  /// Puts the service on a new counter at `value`: the next id is one above. When the returned
  /// override ends, the counter before it goes on where it was. If there is no memory for an
  /// override, nothing changes. Whether ids are unique across counters is up to the caller.
  virtual Vorn::IntrudablePtr<IScopedIdOverride> OverrideCounter(std::int64_t value) = 0;
};

/// Makes the process's one id service. The caller owns it.
///
/// Throws `ApplicationErrorException` on every call but the first, also if that one failed or its
/// service has ended; and `std::bad_alloc`. For one thread at a time.
[[nodiscard]] COMMON_SERVICES_EXPORT SRuntimeUniqueId* Manufacture();

}  // namespace Common::Unique

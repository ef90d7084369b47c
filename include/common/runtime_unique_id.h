// Numbers that are unique within one run, alone or as a prefix that makes a name unique:
// `/$17#crane`.
//
//   ids->MakeUniqueName("crane");      // /$17#crane
//   ids->MakeUniqueName("/$5#crane");  // /$18#crane: a copy of a named thing gets a name of its
//   own
#pragma once

#include <common/common_services_export.h>
#include <vorn_lnk/intrudable>

#include <cstdint>
#include <string>
#include <string_view>

namespace Common {

// Keeps the service on a counter of the caller's choice until its last reference goes. Overrides
// end in the reverse order of their making, and before the service does.
struct VORN_LNK_SHARED_TYPE IScopedIdOverride : Vorn::Intrudable {};

}  // namespace Common

namespace Common::Unique {

// For one thread at a time, the end of an override included. Throws nothing but std::bad_alloc.
struct VORN_LNK_SHARED_TYPE SRuntimeUniqueId {
  virtual ~SRuntimeUniqueId() = default;

  // The next id; the first is 1. After the largest comes the smallest.
  virtual std::int64_t NextId() = 0;

  // The next id as a prefix: `/$17#`.
  virtual std::string NextIdString() = 0;

  // The decimal text of `id`, in the global locale. Takes no id.
  virtual std::string IdToString(std::int64_t id) = 0;

  // The decimal text of `id` with `text` behind it. Takes no id.
  virtual std::string JoinIdAndText(std::string_view text, std::int64_t id) = 0;

  // `name` behind a prefix with a new id, in place of all prefixes that it opens with; "/object" if
  // nothing else is left of it. Takes one id.
  virtual std::string MakeUniqueName(std::string_view name) = 0;

  // Puts the service on a counter that stands at `value`: the next id is one above. When the
  // override ends, the counter before it goes on where it was. Whether ids are unique across
  // counters is up to the caller.
  virtual Vorn::IntrudablePtr<IScopedIdOverride> OverrideCounter(std::int64_t value) = 0;
};

// Makes the process's one id service, which the caller owns. Throws ApplicationErrorException on
// every call but the first. For one thread at a time.
COMMON_SERVICES_EXPORT SRuntimeUniqueId* Manufacture();

}  // namespace Common::Unique

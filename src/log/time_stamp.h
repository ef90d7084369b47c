#pragma once

#include <cstddef>
#include <ctime>
#include <optional>
#include <string>

namespace Common {

// The local time to the second, as "2026-03-09, 17:05:42:", in the global locale of the moment. For
// one thread at a time.
class TimeStamper {
 public:
  // Of a stamp in the classic locale. Others may be longer.
  static constexpr std::size_t UsualSize = 21;

  // Good until the next call. The stamp is cached for its second, unless the locale's `time_put` or
  // `ctype` is a host's own, which may answer differently each time. A change of the time zone
  // shows from the next second on. Keeps no locale, since its facets may belong to a module that is
  // unloaded later.
  const std::string& MakeTimeStamp();

 private:
  std::string stamp;
  std::optional<std::time_t> stampedSecond;  // none if the stamp must not be used again
};

}  // namespace Common

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
  // Of a stamp in the classic locale. Another locale's may be longer.
  static constexpr std::size_t UsualSize = 21;

  // Good until the next call. Formats again in another second, and in each call while the locale
  // has another `time_put` or `ctype` than the classic one: a host's own may answer differently
  // each time. So a time zone that the host changes shows from the next second on. Keeps no locale,
  // whose facets may belong to a module that is unloaded later.
  const std::string& MakeTimeStamp();

 private:
  std::string stamp;
  std::optional<std::time_t> stampedSecond;  // of the stamp, where it may serve again
};

}  // namespace Common

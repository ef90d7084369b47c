#pragma once

#include <cstddef>
#include <ctime>
#include <string>

namespace Common {

// The local time to the second, as "2026-03-09, 17:05:42:", in the global locale of the moment. For
// one thread at a time.
class TimeStamper {
 public:
  // Of a stamp in the classic locale. Another locale's may be longer.
  static constexpr std::size_t UsualSize = 21;

  // Good until the next call. Formats anew in another second, and always in another locale than the
  // classic one, whose facets may be the host's own. So a time zone that the host changes shows
  // from the next second on.
  const std::string& MakeTimeStamp();

 private:
  std::string stamp;
  std::time_t stampedSecond = 0;
  bool isClassic = false;
};

}  // namespace Common

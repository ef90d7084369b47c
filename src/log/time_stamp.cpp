#include "time_stamp.h"

#include <chrono>
#include <ctime>
#include <iterator>
#include <locale>
#include <sstream>
#include <string_view>

namespace Common {
namespace {

#ifdef _WIN32
// The same stamp, spelt out: not every C runtime of this platform knows the short forms.
constexpr std::string_view TimeStampFormat = "%Y-%m-%d, %H:%M:%S:";

std::tm ToLocalTime(std::time_t seconds) {
  std::tm local{};
  localtime_s(&local, &seconds);
  return local;
}
#else
constexpr std::string_view TimeStampFormat = "%F, %T:";

std::tm ToLocalTime(std::time_t seconds) {
  std::tm local{};
  localtime_r(&seconds, &local);
  return local;
}
#endif

}  // namespace

std::string MakeTimeStamp() {
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const std::tm local = ToLocalTime(std::chrono::system_clock::to_time_t(now));
  std::ostringstream stamp;
  std::use_facet<std::time_put<char>>(stamp.getloc())
      .put(std::ostreambuf_iterator<char>(stamp), stamp, stamp.fill(), &local, TimeStampFormat.data(),
           TimeStampFormat.data() + TimeStampFormat.size());
  return std::move(stamp).str();
}

}  // namespace Common

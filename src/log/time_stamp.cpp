#include "time_stamp.h"

#include <chrono>
#include <ctime>
#include <iterator>
#include <locale>
#include <sstream>
#include <string_view>

namespace Common {
namespace {

constexpr std::string_view TimeStampFormat = "%F, %T:";

// Takes the C library's conversion that is safe on several threads.
std::tm ToLocalTime(std::time_t seconds) {
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &seconds);
#else
  localtime_r(&seconds, &local);
#endif
  return local;
}

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

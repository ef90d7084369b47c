#include "time_stamp.h"

#include <chrono>
#include <ctime>
#include <iterator>
#include <locale>
#include <new>
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

std::time_t ReadSecond() {
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  return std::chrono::system_clock::to_time_t(now);
}

std::string FormatSecond(std::time_t second) {
  const std::tm local = ToLocalTime(second);
  std::ostringstream text;
  try {
    std::use_facet<std::time_put<char>>(text.getloc())
        .put(std::ostreambuf_iterator<char>(text), text, text.fill(), &local,
             TimeStampFormat.data(), TimeStampFormat.data() + TimeStampFormat.size());
  } catch (const std::bad_alloc&) {
    throw;
  } catch (...) {  // the host's facet cannot keep a line out of the log: what it has written stands
  }
  return std::move(text).str();
}

}  // namespace

const std::string& TimeStamper::MakeTimeStamp() {
  const std::time_t second = ReadSecond();
  const bool classic = std::locale() == std::locale::classic();
  if (second == stampedSecond && classic && isClassic) return stamp;
  stamp = FormatSecond(second);
  stampedSecond = second;
  isClassic = classic;
  return stamp;
}

}  // namespace Common

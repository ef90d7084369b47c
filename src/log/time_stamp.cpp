#include "time_stamp.h"

#include <chrono>
#include <cstring>
#include <ctime>
#include <iterator>
#include <locale>
#include <new>
#include <sstream>
#include <string_view>

namespace Common {
namespace {

#ifdef _WIN32
// Spelled out, since not every C runtime of Windows knows %F and %T.
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

// std::locale's own == takes all locales of one name for equal, whatever their facets.
bool HaveOneHandle(const std::locale& left, const std::locale& right) {
  // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the handles, not what they stand for
  return std::memcmp(&left, &right, sizeof(std::locale)) == 0;
}

template <class Facet>
bool HasClassic(const std::locale& locale) {
  return &std::use_facet<Facet>(locale) == &std::use_facet<Facet>(std::locale::classic());
}

bool HasClassicStamp(const std::locale& locale) {
  return HaveOneHandle(locale, std::locale::classic()) ||
         (HasClassic<std::time_put<char>>(locale) && HasClassic<std::ctype<char>>(locale));
}

std::string FormatSecond(std::time_t second, const std::locale& locale) {
  const std::tm local = ToLocalTime(second);
  std::ostringstream text;
  text.imbue(locale);
  try {
    std::use_facet<std::time_put<char>>(locale).put(
        std::ostreambuf_iterator<char>(text), text, text.fill(), &local, TimeStampFormat.data(),
        TimeStampFormat.data() + TimeStampFormat.size());
  } catch (const std::bad_alloc&) {
    throw;
  } catch (...) {  // a host's facet must not cost the line: what it has written stays
  }
  return std::move(text).str();
}

}  // namespace

const std::string& TimeStamper::MakeTimeStamp() {
  const std::time_t second = ReadSecond();
  const std::locale locale;
  const bool isClassic = HasClassicStamp(locale);
  if (isClassic && second == stampedSecond) return stamp;
  stamp = FormatSecond(second, locale);
  stampedSecond = isClassic ? std::optional(second) : std::nullopt;
  return stamp;
}

}  // namespace Common

#include "timing.h"

#include <iostream>
#include <limits>
#include <locale>
#include <sstream>

#include "../console.h"

namespace Common {
namespace {

constexpr std::uint64_t LongestWait = std::numeric_limits<std::int64_t>::max();

// Uses a stream of its own, so that neither the settings of `std::cout` nor the global locale
// change the text.
std::string FormatTimingLine(std::uint64_t microseconds) {
  std::ostringstream line;
  line.imbue(std::locale::classic());
  line << microseconds << "us : " << static_cast<float>(microseconds) * 1e-6F << "s\n";
  return line.str();
}

}  // namespace

std::uint64_t TimeLeft(std::uint64_t start, std::uint64_t length, std::uint64_t now) {
  if (length > LongestWait) return 0;
  const std::uint64_t end = start + length;
  const auto difference = static_cast<std::int64_t>(end - now);
  return difference > 0 ? static_cast<std::uint64_t>(difference) : 0;
}

void PrintTimingCheck(const std::function<std::uint64_t(std::uint64_t)>& fill) {
  for (const std::uint64_t milliseconds : {1000U, 500U, 250U, 125U, 75U, 30U})
    InsertQuietly(std::cout, FormatTimingLine(fill(milliseconds * 1000)));
}

}  // namespace Common

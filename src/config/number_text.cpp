#include "number_text.h"

#include <boost/lexical_cast.hpp>

namespace Common {

std::string FormatInt(std::int32_t number) { return boost::lexical_cast<std::string>(number); }

std::optional<std::int32_t> ParseInt(const std::string& text) {
  std::int32_t number = 0;
  if (!boost::conversion::try_lexical_convert(text, number)) return std::nullopt;
  return number;
}

}  // namespace Common

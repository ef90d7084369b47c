#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Common {

// The decimal text of `number`, grouped as the global C++ locale groups digits.
std::string FormatInt(std::int32_t number);

// The number that `text` is: an optional sign and decimal digits, within 32 bits and with nothing
// around them, which may be grouped as in the global C++ locale. None if it is no such text.
std::optional<std::int32_t> ParseInt(const std::string& text);

}  // namespace Common

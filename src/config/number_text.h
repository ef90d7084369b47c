#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Common {

// The decimal text of `number`, grouped as the global C++ locale groups digits.
std::string FormatInt(std::int32_t number);

// The number in `text`, in the form that SConfigFile::GetInt takes. None if it is no such text.
std::optional<std::int32_t> ParseInt(const std::string& text);

}  // namespace Common

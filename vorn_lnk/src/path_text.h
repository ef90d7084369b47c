#pragma once

#include <filesystem>
#include <string>

namespace Vorn::Detail {

// From UTF-8 to the text that the system's paths consist of, and back.
std::filesystem::path::string_type ToNativeText(const std::string& text);
std::string ToUtf8(const std::filesystem::path::string_type& nativeText);

// The system's operations take a name up to its first NUL, so with one in it they would act on
// another file.
bool HoldsNul(const std::filesystem::path& path);

}  // namespace Vorn::Detail

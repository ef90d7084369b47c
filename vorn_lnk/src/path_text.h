#pragma once

#include <filesystem>
#include <string>

namespace Vorn::Detail {

// From UTF-8 to the text that the system's paths consist of, and back.
std::filesystem::path::string_type ToNativeText(const std::string& text);
std::string ToUtf8(const std::filesystem::path::string_type& nativeText);

// Whether the path holds a NUL, at which the system would cut it to another file's name.
bool HoldsNul(const std::filesystem::path& path);

}  // namespace Vorn::Detail

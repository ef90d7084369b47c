#include "path_text.h"

#ifdef _WIN32
#include <windows.h>

#include <climits>
#endif

#ifdef _WIN32
namespace {

// The system counts in 32 bits. A longer text names nothing, and neither does its first part.
template <class Text>
int SizeFor32Bits(const Text& text) {
  constexpr std::size_t Largest = INT_MAX;
  return static_cast<int>(text.size() < Largest ? text.size() : Largest);
}

}  // namespace
#endif

namespace Vorn::Detail {

#ifdef _WIN32

// The system's conversions put U+FFFD where those of the standard library throw.
std::wstring ToNativeText(const std::string& text) {
  const int size = SizeFor32Bits(text);
  const int wideSize = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(wideSize), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), wideSize);
  return wide;
}

std::string ToUtf8(const std::wstring& nativeText) {
  const int size = SizeFor32Bits(nativeText);
  const int utf8Size =
      WideCharToMultiByte(CP_UTF8, 0, nativeText.data(), size, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(utf8Size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, nativeText.data(), size, utf8.data(), utf8Size, nullptr, nullptr);
  return utf8;
}

#else

std::string ToNativeText(const std::string& text) { return text; }
std::string ToUtf8(const std::string& nativeText) { return nativeText; }

#endif

bool HoldsNul(const std::filesystem::path& path) {
  return path.native().find(std::filesystem::path::value_type()) !=
         std::filesystem::path::string_type::npos;
}

}  // namespace Vorn::Detail

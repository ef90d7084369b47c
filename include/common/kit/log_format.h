/// @file
/// Log lines with values in them. The text is checked against the values at compile time, and
/// nothing is formatted for a kind of line that the log does not want.
///
/// ```cpp
/// const std::string name = "Plover";
/// const std::uint64_t time = 1'200;
/// Common::Kit::LogWarning(*log, "ship {} waits {} us", name, time);
/// ```
///
/// Formats with std::format where the standard library has it. Elsewhere this header, and no other
/// of the kit, needs {fmt}, linked as a library (`fmt::fmt` in CMake): the header-only form would
/// keep a plugin from being unloaded.
#pragma once

#include <common/message_log.h>

#include <utility>
#include <version>

#if defined(__cpp_lib_format)
#include <format>
#elif defined(FMT_HEADER_ONLY)
#error "log_format.h takes {fmt} as a library. Link fmt::fmt in place of fmt::fmt-header-only."
#elif __has_include(<fmt/core.h>)
#include <fmt/core.h>
#else
#error "log_format.h takes std::format, which this standard library lacks, or {fmt}, not found."
#endif

namespace Common::Kit {

namespace Detail {
#if defined(__cpp_lib_format)
namespace Formatting = std;
#else
namespace Formatting = fmt;
#endif
}  // namespace Detail

/// Logs an error: `text` with `args` in it, as std::format does. A text that does not fit its
/// values does not compile. Pass a text that is only known at run time to `log.LogError`.
///
/// Does nothing if the log does not want errors: formats nothing, and a tap does not count the
/// line. Throws what `log.LogError` and the formatting of a value throw. Any thread.
template <class... Args>
void LogError(Log::SMessageLog& log, Detail::Formatting::format_string<Args...> text,
              Args&&... args) {
  if (!log.Wants(Log::LogKind::Error)) return;
  log.LogError(Detail::Formatting::format(text, std::forward<Args>(args)...));
}

/// As LogError, for a warning.
template <class... Args>
void LogWarning(Log::SMessageLog& log, Detail::Formatting::format_string<Args...> text,
                Args&&... args) {
  if (!log.Wants(Log::LogKind::Warning)) return;
  log.LogWarning(Detail::Formatting::format(text, std::forward<Args>(args)...));
}

/// As LogError, for a message.
template <class... Args>
void LogMessage(Log::SMessageLog& log, Detail::Formatting::format_string<Args...> text,
                Args&&... args) {
  if (!log.Wants(Log::LogKind::Message)) return;
  log.LogMessage(Detail::Formatting::format(text, std::forward<Args>(args)...));
}

}  // namespace Common::Kit

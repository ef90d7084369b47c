/// @file
/// What the services throw when they themselves refuse: a factory that is called again or too
/// early, a report that cannot be opened.
///
/// ```cpp
/// try {
///   profiler->WriteReport("reports/today.csv");
/// } catch (const Common::ApplicationErrorException& failure) {
///   std::cerr << failure.what() << '\n';
/// }
/// ```
#pragma once

#include <vorn_lnk/shared_type>

#include <exception>
#include <string>

namespace Common {

/// A failure with a text. Copies may be made freely.
class VORN_LNK_SHARED_TYPE ApplicationErrorException : public std::exception {
 public:
  /// Copies `text` as its message. Throws `std::bad_alloc`.
  explicit ApplicationErrorException(const std::string& text) : message(text) {}

  /// The message, unchanged. Good for as long as this exception lives.
  const char* what() const noexcept override { return message.c_str(); }

 private:
  std::string message;
};

}  // namespace Common

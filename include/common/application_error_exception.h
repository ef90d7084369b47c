#pragma once

#include <vorn_lnk/vorn_lnk_export.h>

#include <exception>
#include <string>

namespace Common {

// The library's own failures: a factory called again or too early, a report that cannot be opened.
class VORN_LNK_SHARED_TYPE ApplicationErrorException : public std::exception {
 public:
  explicit ApplicationErrorException(const std::string& text) : message(text) {}

  // The message, unchanged. Good for as long as this exception lives.
  const char* what() const noexcept override { return message.c_str(); }

 private:
  std::string message;
};

}  // namespace Common

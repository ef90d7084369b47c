// Must not compile: a text is no whole number.
#include <common/kit/log_format.h>

void LogWrongly(Common::Log::SMessageLog& log) {
  Common::Kit::LogMessage(log, "berth {:d}", "four");
}

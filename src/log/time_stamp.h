#pragma once

#include <string>

namespace Common {

// The local time to the second, as "2026-03-09, 17:05:42:", in the global locale.
std::string MakeTimeStamp();

}  // namespace Common

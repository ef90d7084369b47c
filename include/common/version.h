/// @file
/// The version of the library whose headers a host was compiled with. The numbers are given here
/// and nowhere else: the build and the packages read them from this file.
///
/// ```cpp
/// static_assert(COMMON_SERVICES_VERSION_MAJOR == 2, "written for the second major version");
/// std::cout << "common-services " << Common::Version << '\n';
/// ```
#pragma once

/// Rises when hosts have to be compiled again or changed. The file names of the libraries carry it.
#define COMMON_SERVICES_VERSION_MAJOR 2
/// Rises when something was added that hosts may use.
#define COMMON_SERVICES_VERSION_MINOR 0
/// Rises with a release that only fixes faults.
#define COMMON_SERVICES_VERSION_PATCH 0

#define COMMON_SERVICES_DETAIL_QUOTE(number) #number
#define COMMON_SERVICES_DETAIL_TEXT(major, minor, patch) \
  COMMON_SERVICES_DETAIL_QUOTE(major)                    \
  "." COMMON_SERVICES_DETAIL_QUOTE(minor) "." COMMON_SERVICES_DETAIL_QUOTE(patch)

namespace Common {

/// The three numbers as text, joined by dots: "major.minor.patch". Each module that includes this
/// header has a constant of its own, so a plugin can compare its text with that of its host.
constexpr char Version[] = COMMON_SERVICES_DETAIL_TEXT(
    COMMON_SERVICES_VERSION_MAJOR, COMMON_SERVICES_VERSION_MINOR, COMMON_SERVICES_VERSION_PATCH);

}  // namespace Common

#undef COMMON_SERVICES_DETAIL_TEXT
#undef COMMON_SERVICES_DETAIL_QUOTE

/// @file
/// The folders that the services write into. The services make none of them but the log's
/// `old_logs`, so a game that starts in an empty folder would lose its settings and its report.
///
/// ```cpp
/// Common::Kit::PrepareFolders("saved/harbor");  // before any service is made
/// const auto logOwner = Vorn::Service<Common::Log::SMessageLog>::Create(
///     Common::Log::ManufactureMessageLog());  // writes saved/harbor/zeb_log.txt
/// ```
#pragma once

#include <string>

namespace Common::Kit {

/// Makes `folder` and all folders that lead to it, and in it `content/config` for the settings and
/// `content/ut_result` for the profiler's report. Then makes it the current folder of the process,
/// where the services look for their files. Existing folders stay as they are.
///
/// The name is UTF-8 on every system. A relative name counts from the current folder, so a second
/// call with it makes a folder inside the first.
///
/// Throws std::filesystem::filesystem_error, which names the folder and the reason, if a folder
/// cannot be made or entered, or if the name is empty or holds a NUL; and std::bad_alloc. The
/// current folder is then unchanged, but folders that were made stay.
///
/// REQUIRES: no other thread uses relative paths meanwhile, since a process has one current folder.
void PrepareFolders(const std::string& folder);

}  // namespace Common::Kit

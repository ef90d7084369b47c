/// @file
/// The folders that the services write into. They make none themselves, so a game that starts in
/// an empty folder would lose its settings and its report.
///
/// ```cpp
/// Common::Kit::PrepareFolders("saved/harbor");  // before any service is made
/// const auto logOwner = Vorn::Service<Common::Log::SMessageLog>::Create(
///     Common::Log::ManufactureMessageLog());  // writes saved/harbor/zeb_log.txt
/// ```
#pragma once

#include <string>

namespace Common::Kit {

/// Makes the folder `folder` where it is missing, with all that lead to it, and in it
/// `content/config` for the settings and `content/ut_result` for the profiler's report. Then makes
/// it the current folder of the process, by which the services find all their files. Folders that
/// are there stay as they are. The log makes `old_logs` itself.
///
/// The name is UTF-8 on every system. A relative one counts from the current folder, so a second
/// call with it makes a folder inside the first.
///
/// Throws std::filesystem::filesystem_error, which names the folder and the reason, if one of them
/// cannot be made or entered, and for a name that is empty or holds a NUL; and std::bad_alloc. The
/// current folder is then unchanged; folders that were made stay.
///
/// REQUIRES: no other thread uses relative paths at the same time, since the process has one
/// current folder.
void PrepareFolders(const std::string& folder);

}  // namespace Common::Kit

/// @file
/// Keeps `old_logs` small: each start of a log adds an archive there, and nothing else deletes any.
///
/// ```cpp
/// const std::size_t deleted = Common::Kit::PruneOldLogs(20);  // after the log is made
/// if (deleted > 0) log->LogMessage(std::to_string(deleted) + " old logs were deleted");
/// ```
#pragma once

#include <cstddef>

namespace Common::Kit {

/// Deletes all archived logs in `old_logs` in the working directory but the `keep` youngest.
/// Returns how many it deleted, 0 if there is no such folder.
///
/// An archive is a regular file named as this library names archives: a GUID in lower case and
/// `.txt`. Nothing else is deleted or counted, no folder and no link, wherever it leads.
///
/// A GUID of version 7, as `Vorn::CreateGuid` makes it, holds the time of archiving. For any other,
/// as in old archives, the time of the file's last change counts.
///
/// A file that cannot be deleted stays, and the others are still deleted. Throws std::bad_alloc.
/// Any thread. REQUIRES: nobody still needs the archives, so call it after
/// `SMessageLog::SetGuardFile`, which may complete one of them.
std::size_t PruneOldLogs(std::size_t keep);

}  // namespace Common::Kit

/// @file
/// Keeps the folder `old_logs` small. Each start of a log adds one archive there, and nothing else
/// ever deletes one.
///
/// ```cpp
/// const std::size_t deleted = Common::Kit::PruneOldLogs(20);  // after the log is made
/// if (deleted > 0) log->LogMessage(std::to_string(deleted) + " old logs were deleted");
/// ```
#pragma once

#include <cstddef>

namespace Common::Kit {

/// Deletes archived logs from `old_logs` in the working directory, all but the `keep` youngest.
/// Returns how many it deleted, 0 where there is no such folder.
///
/// An archive is a regular file that is named as this library names archives: a GUID in lower case
/// and `.txt`. Nothing else is deleted or counted, no folder and no link, wherever it leads.
///
/// A GUID of version 7 tells the time of archiving, as it does for `Vorn::CreateGuid`. For any
/// other, as old archives have, the time of the last change to the file counts.
///
/// A file that cannot be deleted stays, and the others are deleted all the same. Throws
/// std::bad_alloc. Any thread. REQUIRES: nobody else still needs the archives. So call it after
/// `SMessageLog::SetGuardFile`, which may complete one of them.
std::size_t PruneOldLogs(std::size_t keep);

}  // namespace Common::Kit

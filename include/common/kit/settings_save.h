/// @file
/// Saves settings so that a crash, a kill or a full disk in the middle leaves the old file or the
/// new one, whole. `SConfigFile::Save` cuts its file and fills it in place.
///
/// ```cpp
/// const std::string path = Common::ConfigFolder + "/" + Common::ConfigFileName;
/// const bool isSaved = Common::Kit::SaveSafely(*settings, path);
/// if (!isSaved) log->LogWarning("The settings are not saved.");
/// ```
///
/// At its end the store still saves in place. See the host guide for a way around that.
#pragma once

#include <common/config_file.h>

#include <string>

namespace Common::Kit {

/// Writes all settings of `store`, as its `Save` does, to a new file beside the one at `path`,
/// flushes it to the disk, and renames it over the old one. A file that is not there is made; a
/// folder is not. The path is UTF-8. The store does not change.
///
/// Returns true when the new file has taken its place. False means that something failed: the old
/// file is as it was, and nothing lies beside it. So it is with a full disk, a folder where no file
/// can be made, a file that may not be written, and what is no regular file.
///
/// A link is followed to its target, which is replaced where it stands; on Windows one that leads
/// nowhere is a failure. The new file has the permissions of the old one and, where this process
/// may give it away, its owner and group. It is another file, so another hard link keeps the old
/// content.
///
/// A crash in the middle may leave the new file there under its first name, `settings-` with a GUID
/// and `.tmp`. Flushing takes as long as the disk does, often several milliseconds.
///
/// Throws ApplicationErrorException for a store that does not list its entries, std::bad_alloc, and
/// what `Vorn::CreateGuid` does; no file has changed then. For the thread of the store. Two
/// processes may save to one path at a time: the later one wins.
bool SaveSafely(Config::SConfigFile& store, const std::string& path);

}  // namespace Common::Kit

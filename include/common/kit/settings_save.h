/// @file
/// Saves settings so that a crash, a kill or a full disk leaves either the old file or the new one,
/// whole. `SConfigFile::Save` truncates its file and writes it in place.
///
/// ```cpp
/// const std::string path = Common::ConfigFolder + "/" + Common::ConfigFileName;
/// const bool isSaved = Common::Kit::SaveSafely(*settings, path);
/// if (!isSaved) log->LogWarning("The settings are not saved.");
/// ```
///
/// At its end the store still saves in place; the host guide shows a way around that.
#pragma once

#include <common/config_file.h>

#include <string>

namespace Common::Kit {

/// Writes all settings of `store`, as its `Save` does, to a new file beside the one at `path`,
/// flushes it to the disk, and renames it over the old one. A missing file is made, a missing
/// folder is not. The path is UTF-8. The store does not change.
///
/// Returns true when the new file has replaced the old one. False means that something failed, such
/// as a full disk, a folder where no file can be made, or a path that is not a regular file or may
/// not be written: the old file is as it was, and nothing is left beside it.
///
/// A link is followed and its target replaced; on Windows a link that leads nowhere is a failure.
/// The new file gets the permissions of the old one and, if this process may set them, its owner
/// and group. It is a new file, so another hard link keeps the old content.
///
/// A crash may leave the new file under its temporary name, `settings-` with a GUID and `.tmp`.
/// Flushing takes as long as the disk does, often several milliseconds.
///
/// Throws ApplicationErrorException for a store that does not list its entries, std::bad_alloc, and
/// what `Vorn::CreateGuid` does; no file has changed then. For the thread of the store. If two
/// processes save to one path at the same time, the later one wins.
bool SaveSafely(Config::SConfigFile& store, const std::string& path);

}  // namespace Common::Kit

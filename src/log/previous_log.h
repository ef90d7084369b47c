#pragma once

#include <filesystem>

#include "file_mark.h"
#include "guard_file.h"

namespace Common {

// The log of the previous run, and the folder of such logs. All paths are absolute.
struct PreviousLog {
  std::filesystem::path archiveFolder;
  std::filesystem::path name;     // before it was moved
  FileMark mark;                  // before it was moved
  std::filesystem::path movedTo;  // empty if there was none, or it could not be moved
};

// Appends the lines that the guard holds to the log that they belong to, if that is the previous
// one, or to the file that already holds the first part of them, or writes an archive of their own.
// Writes nothing twice, even if an earlier call was cut off. Returns false if not all could be
// written; the guard then still holds them.
//
// Throws std::bad_alloc, and what `Vorn::CreateGuid` throws.
bool CompletePreviousLog(GuardFile& guard, const PreviousLog& previous);

}  // namespace Common

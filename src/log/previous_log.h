#pragma once

#include <filesystem>

#include "file_mark.h"
#include "guard_file.h"

namespace Common {

// The log that a start finds, and where it keeps such logs. All paths are absolute.
struct PreviousLog {
  std::filesystem::path archiveFolder;
  std::filesystem::path name;     // before it was moved
  FileMark mark;                  // before it was moved
  std::filesystem::path movedTo;  // empty where there was none, or it could not be moved
};

// Appends the lines that the guard still holds to the log that they belong to, if that is the
// previous one, and else writes them into an archive of their own. A file that already holds the
// first part of them gets the rest, wherever it is now. What is there already is not written again,
// even if an earlier call was cut off in the middle. False where not all of them could be written;
// the guard then holds them as before.
//
// Throws std::bad_alloc, and whatever `Vorn::CreateGuid` does.
bool CompletePreviousLog(GuardFile& guard, const PreviousLog& previous);

}  // namespace Common

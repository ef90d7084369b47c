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

// Writes the lines that the guard still holds behind the log that they belong to, if that is the
// previous one, and else into an archive of their own. A file that holds a first part of them gets
// the others, wherever it is now. What stands there already is not written again, also where an
// earlier call was cut off. False where not all of them could be written; the guard then holds them
// as before.
//
// Throws std::bad_alloc, and whatever `Vorn::CreateGuid` does.
bool CompletePreviousLog(GuardFile& guard, const PreviousLog& previous);

}  // namespace Common

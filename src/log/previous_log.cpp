#include "previous_log.h"

#include <vorn_lnk/guid>

#include <algorithm>
#include <fstream>
#include <locale>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "../output_file.h"

namespace Common {
namespace {

namespace fs = std::filesystem;

// The bytes that text mode writes for the lines: a file may end at any of them.
std::string OnDisk(std::string_view lines) {
#ifdef _WIN32
  std::string text;
  for (const char c : lines) {
    if (c == '\n') text += '\r';
    text += c;
  }
  return text;
#else
  return std::string(lines);
#endif
}

bool Holds(const fs::path& file, std::uint64_t offset, std::string_view bytes) {
  if (bytes.empty()) return true;
  std::ifstream stream;
  stream.imbue(std::locale::classic());  // another locale may change bytes
  stream.open(file, std::ios::binary);
  stream.seekg(static_cast<std::streamoff>(offset));
  std::string found(bytes.size(), '\0');
  stream.read(found.data(), static_cast<std::streamsize>(found.size()));
  return stream.good() && found == bytes;
}

// How much of `text` the file holds behind its marked length. None if it is another file or holds
// anything else there.
std::optional<std::size_t> WrittenPart(const fs::path& file, const FileMark& mark,
                                       std::string_view text) {
  const FileMark found = LookAt(file);
  if (!found.IsSameFile(mark) || found.length < mark.length) return std::nullopt;
  const std::uint64_t written = found.length - mark.length;
  if (written > text.size() || !Holds(file, mark.length, text.substr(0, written))) {
    return std::nullopt;
  }
  return written;
}

bool IsSamePath(const fs::path& a, const fs::path& b) {
  return a.lexically_normal() == b.lexically_normal();
}

bool WasTarget(const PreviousLog& previous, const GuardTarget& target) {
  if (previous.movedTo.empty() || !IsSamePath(previous.name, target.file)) return false;
  // A run that dies right after it has opened its file leaves an empty one without a mark.
  const bool isUnmarked = target.mark.exists == 0 && previous.mark.length == 0;
  return isUnmarked || previous.mark.IsSameFile(target.mark);
}

// The archive that the lines belong to, if any: one that an earlier start has noted, or the
// previous log. The mark of the latter is read again, since a move may change the index.
std::optional<GuardTarget> FindArchive(const GuardTarget& target, const PreviousLog& previous) {
  GuardTarget archive = target;
  if (!target.isArchive) {
    if (!WasTarget(previous, target)) return std::nullopt;
    archive.file = previous.movedTo;
    archive.mark = LookAt(previous.movedTo);
    archive.mark.length = target.mark.length;
  }
  const bool isThere =
      archive.mark.exists != 0 && archive.file.parent_path() == previous.archiveFolder;
  return isThere ? std::optional(archive) : std::nullopt;
}

// The file that holds the first part of the lines, if any. A run that died in the middle of a batch
// was writing to a file that the host had named, or to its log, which a start without a guard may
// have moved since. A previous log that could not be moved is left as it is.
std::optional<GuardTarget> FindBegunFile(const GuardTarget& target, const PreviousLog& previous,
                                         std::string_view text) {
  GuardTarget begun = target;
  const auto isBegun = [&] { return WrittenPart(begun.file, target.mark, text).value_or(0) > 0; };
  if (target.mark.exists == 0) return std::nullopt;
  if (!IsSamePath(previous.name, target.file) && isBegun()) return begun;
  std::error_code failure;
  for (fs::directory_iterator file(previous.archiveFolder, failure), end; file != end;
       file.increment(failure)) {
    begun.file = file->path();
    if (isBegun()) return begun;
  }
  return std::nullopt;
}

// Notes the file in the guard before anything is written, so that the next start can go on.
bool Append(GuardFile& guard, OutputFile& file, const GuardTarget& target,
            std::string_view missing) {
  guard.SetTarget(target.file, target.mark, true, target.skipped);
  file.Write(missing);
  return file.IsOpen();
}

// None if the file is not as expected, or cannot be opened.
std::optional<bool> CompleteFile(GuardFile& guard, const GuardTarget& target,
                                 std::string_view text) {
  const std::optional<std::size_t> written = WrittenPart(target.file, target.mark, text);
  if (!written) return std::nullopt;
  OutputFile file(target.file, OutputFile::Mode::AppendBytes);
  if (!file.IsOpen()) return std::nullopt;
  return Append(guard, file, target, text.substr(*written));
}

// How many bytes of `text` are whole lines in a previous log that could not be moved.
std::size_t CountWrittenLines(const GuardTarget& target, std::string_view text) {
  if (target.mark.exists == 0) return 0;
  const std::size_t written = WrittenPart(target.file, target.mark, text).value_or(0);
  return text.substr(0, written).rfind('\n') + 1;
}

bool WriteOwnArchive(GuardFile& guard, const fs::path& archiveFolder, std::uint64_t skipped,
                     std::string_view text) {
  std::error_code failure;
  fs::create_directory(archiveFolder, failure);  // if it fails, so does opening the file
  GuardTarget own{.file = archiveFolder / (Vorn::CreateGuid() + ".txt"),
                  .mark = {},
                  .isArchive = true,
                  .skipped = skipped};
  OutputFile file(own.file, OutputFile::Mode::AppendBytes);
  if (!file.IsOpen()) return false;
  own.mark = LookAt(own.file);
  return Append(guard, file, own, text);
}

}  // namespace

bool CompletePreviousLog(GuardFile& guard, const PreviousLog& previous) {
  if (guard.Lines().empty()) return true;
  const std::string onDisk = OnDisk(guard.Lines());
  std::string_view text = onDisk;
  const GuardTarget target = guard.Target();
  text.remove_prefix(std::min<std::uint64_t>(target.skipped, text.size()));
  for (const auto& found : {FindArchive(target, previous), FindBegunFile(target, previous, text)}) {
    if (!found) continue;
    if (const auto isDone = CompleteFile(guard, *found, text)) return *isDone;
  }
  const std::size_t elsewhere = CountWrittenLines(target, text);
  text.remove_prefix(elsewhere);
  if (text.empty()) return true;
  return WriteOwnArchive(guard, previous.archiveFolder, target.skipped + elsewhere, text);
}

}  // namespace Common

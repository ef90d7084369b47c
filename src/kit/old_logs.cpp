#include <common/kit/old_logs.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace Common::Kit {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

constexpr std::string_view ArchiveFolder = "old_logs";
constexpr std::string_view NameForm = "00000000-0000-0000-0000-000000000000.txt";  // 0: any digit
constexpr std::size_t VersionPlace = 14;

struct Archive {
  // The youngest first. Version 7 names sort by time even within a millisecond.
  bool operator<(const Archive& other) const {
    return time != other.time ? time > other.time : name > other.name;
  }

  milliseconds time;  // since 1970
  std::string name;
  fs::path path;
};

template <class Character>
bool HasPlaceFor(Character character, char place) {
  const bool isDigit =
      (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
  return place == '0' ? isDigit : character == static_cast<Character>(place);
}

bool IsArchiveName(const fs::path::string_type& name) {
  return std::equal(name.begin(), name.end(), NameForm.begin(), NameForm.end(),
                    HasPlaceFor<fs::path::value_type>);
}

template <class TimePoint>
milliseconds SinceEpoch(TimePoint time) {
  return std::chrono::floor<milliseconds>(time.time_since_epoch());
}

// A version 7 GUID starts with 48 bits of milliseconds since 1970.
milliseconds TimeInName(const std::string& name) {
  const std::string digits = name.substr(0, 8) + name.substr(9, 4);
  std::int64_t time = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), time, 16);
  return milliseconds(time);
}

class ArchiveFinder {
 public:
  std::vector<Archive> Find() {
    std::error_code failure;
    fs::directory_iterator entry(ArchiveFolder, failure);
    for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) Add(*entry);
    return std::move(archives);
  }

 private:
  void Add(const fs::directory_entry& entry) {
    const fs::path name = entry.path().filename();
    std::error_code failure;
    if (!IsArchiveName(name.native())) return;
    if (!fs::is_regular_file(entry.symlink_status(failure))) return;

    const std::string text = name.string();
    if (text[VersionPlace] == '7') {
      archives.push_back({TimeInName(text), text, entry.path()});
      return;
    }
    const fs::file_time_type changed = entry.last_write_time(failure);
    if (!failure) archives.push_back({SinceEpoch(changed) + fileEpoch, text, entry.path()});
  }

  // The zero of the file clock. Not every standard library has std::chrono::clock_cast.
  const milliseconds fileEpoch =
      SinceEpoch(std::chrono::system_clock::now()) - SinceEpoch(fs::file_time_type::clock::now());
  std::vector<Archive> archives;
};

}  // namespace

std::size_t PruneOldLogs(std::size_t keep) {
  std::vector<Archive> archives = ArchiveFinder().Find();
  std::sort(archives.begin(), archives.end());
  std::size_t deleted = 0;
  for (std::size_t place = keep; place < archives.size(); ++place) {
    std::error_code failure;
    if (fs::remove(archives[place].path, failure)) ++deleted;
  }
  return deleted;
}

}  // namespace Common::Kit

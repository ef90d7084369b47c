#include "config_format.h"

#include <common/message_log.h>

#include <boost/lexical_cast.hpp>
#include <boost/spirit/include/classic_core.hpp>
#include <boost/spirit/include/phoenix1.hpp>

#include <string_view>

namespace Common {
namespace {

namespace Spirit = boost::spirit::classic;

using Config::ConfigEntries;
using Rule = Spirit::rule<Spirit::scanner<const char*>>;

const Vorn::Singleton<Log::SMessageLog, std::shared_ptr> messageLog;

constexpr std::string_view KeyValueSeparator = " = ";

// What the line rule matched last. Shared by all parses of the process.
std::string CapturedKey;
std::string CapturedValue;

// Assigns the matched range to a capture, which keeps its memory from line to line.
struct AssignRange {
  template <class Capture, class First, class Last>
  struct result {
    using type = void;
  };

  void operator()(std::string& capture, const char* first, const char* last) const {
    capture.assign(first, last);
  }
};

const phoenix::function<AssignRange> assignRange;

auto CaptureInto(std::string& capture) {
  return assignRange(phoenix::var(capture), phoenix::arg1, phoenix::arg2);
}

// Letters and digits that every locale has. They are told without a call into it, which most bytes
// would make.
bool IsPortableAlnum(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') ||
         (byte >= 'A' && byte <= 'Z');
}

struct PortableAlnumParser : Spirit::char_parser<PortableAlnumParser> {
  bool test(char byte) const { return IsPortableAlnum(byte); }
};

struct SpaceParser : Spirit::char_parser<SpaceParser> {
  bool test(char byte) const {
    return byte == ' ' || (!IsPortableAlnum(byte) && Spirit::space_p.test(byte));
  }
};

const PortableAlnumParser PortableAlnum;
const SpaceParser Space;

const Rule KeyRule =
    *(PortableAlnum | Spirit::ch_p('_') | Spirit::ch_p('/') | Spirit::ch_p('\\') | Spirit::alnum_p);

const Rule LineRule = KeyRule[CaptureInto(CapturedKey)] >> *Space >> Spirit::ch_p('=') >> *Space >>
                      (*Spirit::anychar_p)[CaptureInto(CapturedValue)] >> *Space;

std::string_view WithoutTrailingReturns(std::string_view line) {
  return line.substr(0, line.find_last_not_of('\r') + 1);
}

// A NUL byte ends what the rule sees of a line.
bool MatchLine(std::string_view line) {
  const std::string_view visible = line.substr(0, line.find('\0'));
  return Spirit::parse(visible.data(), visible.data() + visible.size(), LineRule).full;
}

void ReportBadLine(const std::string& name, std::uint64_t lineNumber, std::string_view line) {
  std::string text = "Syntax error reading configuration file: ";
  text.append(name);
  text.append(" at line: ");
  text.append(boost::lexical_cast<std::string>(lineNumber));
  text.append(" content: ");
  text.append(line);
  text.append(".");
  ReportError(text);
}

}  // namespace

ConfigEntries ParseEntries(const std::string& content, const std::string& name) {
  ConfigEntries entries;
  std::uint64_t lineNumber = 0;
  for (std::string_view rest = content; !rest.empty();) {
    ++lineNumber;
    const std::size_t lineEnd = rest.find('\n');
    const std::string_view line = WithoutTrailingReturns(rest.substr(0, lineEnd));
    rest.remove_prefix(lineEnd == std::string_view::npos ? rest.size() : lineEnd + 1);
    if (line.empty()) continue;
    if (MatchLine(line)) {
      entries.insert_or_assign(entries.end(), CapturedKey,
                               CapturedValue);  // where a sorted file goes on
    } else {
      ReportBadLine(name, lineNumber, line);
    }
  }
  return entries;
}

std::string FormatEntryLines(const ConfigEntries& entries) {
  std::size_t size = 0;
  for (const auto& [key, value] : entries)
    size += key.size() + KeyValueSeparator.size() + value.size() + 1;
  std::string text;
  text.reserve(size);
  for (const auto& [key, value] : entries) {
    text.append(key).append(KeyValueSeparator).append(value).push_back('\n');
  }
  return text;
}

void ReportError(const std::string& text) { messageLog.Get()->LogError(text); }

}  // namespace Common

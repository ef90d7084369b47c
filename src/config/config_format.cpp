#include "config_format.h"

#include <boost/lexical_cast.hpp>
#include <boost/spirit/include/classic_core.hpp>
#include <boost/spirit/include/phoenix1.hpp>

#include <string_view>
#include <utility>

namespace Common {
namespace {

namespace Spirit = boost::spirit::classic;

using Config::ConfigEntries;
using Rule = Spirit::rule<Spirit::scanner<const char*>>;

constexpr std::string_view KeyValueSeparator = " = ";

auto CaptureInto(std::string& capture) {
  return phoenix::var(capture) = phoenix::construct_<std::string>(phoenix::arg1, phoenix::arg2);
}

// Shared by all texts of the process. The captures hold what the line rule matched last. What
// counts as a letter, a digit or white space is decided by setlocale.
struct Grammar {
  std::string capturedKey;
  std::string capturedValue;

  const Rule keyRule =
      *(Spirit::alnum_p | Spirit::ch_p('_') | Spirit::ch_p('/') | Spirit::ch_p('\\'));
  const Rule lineRule = keyRule[CaptureInto(capturedKey)] >> *Spirit::space_p >>
                        Spirit::ch_p('=') >> *Spirit::space_p >>
                        (*Spirit::anychar_p)[CaptureInto(capturedValue)] >> *Spirit::space_p;
};

const auto OwnGrammar = std::make_shared<Grammar>();

// Valid while anyone holds a share, so also after OwnGrammar has ended.
Grammar& TheGrammar = *OwnGrammar;

// Frees the captures after each text, so that a huge line does not hold its memory. Assigning an
// empty text would keep it.
struct CaptureMemory {
  CaptureMemory() = default;
  ~CaptureMemory() {
    std::string().swap(TheGrammar.capturedKey);
    std::string().swap(TheGrammar.capturedValue);
  }

  CaptureMemory(const CaptureMemory&) = delete;
  CaptureMemory& operator=(const CaptureMemory&) = delete;
};

std::string_view WithoutTrailingReturns(std::string_view line) {
  return line.substr(0, line.find_last_not_of('\r') + 1);
}

// The rule sees a line up to its first NUL.
bool MatchLine(std::string_view line) {
  const std::string_view visible = line.substr(0, line.find('\0'));
  return Spirit::parse(visible.data(), visible.data() + visible.size(), TheGrammar.lineRule).full;
}

std::string DescribeBadLine(const std::string& name, std::uint64_t lineNumber,
                            std::string_view line) {
  std::string message = "Syntax error reading configuration file: ";
  message.append(name);
  message.append(" at line: ");
  message.append(boost::lexical_cast<std::string>(lineNumber));
  message.append(" content: ");
  message.append(line);
  message.append(".");
  return message;
}

}  // namespace

std::shared_ptr<const void> ShareGrammar() { return OwnGrammar; }

ConfigEntries ParseEntries(const std::string& content, const std::string& name,
                           const ErrorReport& report) {
  const CaptureMemory captureMemory;
  ConfigEntries entries;
  std::uint64_t lineNumber = 0;
  for (std::string_view rest = content; !rest.empty();) {
    ++lineNumber;
    const std::size_t lineEnd = rest.find('\n');
    const std::string_view line = WithoutTrailingReturns(rest.substr(0, lineEnd));
    rest.remove_prefix(lineEnd == std::string_view::npos ? rest.size() : lineEnd + 1);
    if (line.empty()) continue;
    if (MatchLine(line)) {
      // The hint suits a sorted file.
      entries.insert_or_assign(entries.end(), std::move(TheGrammar.capturedKey),
                               std::move(TheGrammar.capturedValue));
    } else {
      report(DescribeBadLine(name, lineNumber, line));
    }
  }
  return entries;
}

std::string FormatEntryLines(const ConfigEntries& entries) {
  std::size_t size = 0;
  for (const auto& [key, value] : entries) {
    size += key.size() + KeyValueSeparator.size() + value.size() + 1;
  }
  std::string text;
  text.reserve(size);
  for (const auto& [key, value] : entries) {
    text.append(key).append(KeyValueSeparator).append(value).push_back('\n');
  }
  return text;
}

}  // namespace Common

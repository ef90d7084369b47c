#include <common/kit/log_format.h>
#include <common/kit/log_tap.h>

#include "support.h"

namespace Common::Test {
namespace {

using Kit::StandInLog;
using Log::LogKind;

TEST(KitLogFormat, PutsValuesIntoLinesOfEachKind) {
  StandInLog log;
  const std::string name = "Plover";
  Kit::LogError(log, "ship {} waits {} us", name, 1'200U);
  Kit::LogWarning(log, "{1:.2f} {0}", 'x', 0.125);
  Kit::LogMessage(log, "{{}}");
  const std::vector<StandInLog::Line> lines{{LogKind::Error, "ship Plover waits 1200 us"},
                                            {LogKind::Warning, "0.12 x"},
                                            {LogKind::Message, "{}"}};
  EXPECT_EQ(log.lines, lines);
}

TEST(KitLogFormat, FormatsNothingForAKindThatNobodyWants) {
  Kit::LogTap tap(std::make_unique<StandInLog>());
  const auto formatBadly = [&] { Kit::LogMessage(tap, "{:{}}", 1, -1); };  // no such width
  EXPECT_ANY_THROW(formatBadly());
  tap.SetLowest(LogKind::Warning);
  EXPECT_NO_THROW(formatBadly());
  Kit::LogWarning(tap, "wanted");
  Kit::LogError(tap, "wanted");
  EXPECT_EQ(tap.LastLines().size(), 2U);
}

}  // namespace
}  // namespace Common::Test

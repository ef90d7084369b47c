// Right, wrong and borderline numbers, in global locales that group digits and write a decimal
// comma, against a plain reading of their texts.
#include <common/kit/settings_reader.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <locale>
#include <map>

#include "shared.h"

namespace {

using namespace Common;
using Fuzz::Check;

constexpr double FirstThatSkips = 0x1p53;  // the next whole number has no double
constexpr std::int32_t Ints[] = {INT32_MIN, -1234, -1, 0, 1, 7, 1234, 1234567, INT32_MAX};
constexpr double Floats[] = {0.0,   1.0,    7.0,    -7.0,     -2.5,     0.1,  0.1F,  0.8,
                             0.8F,  0.5,    1e-3,   0.3,      5e-324,   1e22, 1e300, -1e308,
                             3e38F, 0x1p24, 0x1p53, 0x1.1p53, 16777217, 1e15};
const std::string Words[] = {"", "a", "0x1", "nan", "inf", "1e999", "+-1", "1 ", "1.", "1e"};

template <class Number>
std::string Shortest(Number number) {
  char digits[32];
  return {digits, std::to_chars(digits, digits + sizeof digits, number).ptr};
}

// ---- How texts are read and written.

std::optional<std::int32_t> ToInt(std::string_view text) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  std::int32_t number = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isNumber = parsed.ec == std::errc() && parsed.ptr == text.data() + text.size();
  return isNumber ? std::optional(number) : std::nullopt;
}

std::optional<double> ToFloat(const std::string& text) {
  if (text.find_first_not_of("0123456789+-.e") != std::string::npos) return std::nullopt;
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);  // not of the global locale
  const bool isNumber = !text.empty() && *end == '\0' && std::isfinite(number);
  return isNumber ? std::optional(number) : std::nullopt;
}

bool IsInRangeOfFloat(double number) {
  return std::fabs(number) <= std::numeric_limits<float>::max();
}

double Round(double number) {
  return IsInRangeOfFloat(number) ? double{static_cast<float>(number)} : number;
}

bool IsFloat(double number) { return IsInRangeOfFloat(number) && Round(number) == number; }

bool IsWhole(double number) {
  return std::trunc(number) == number && std::fabs(number) < FirstThatSkips;
}

std::string FloatText(double number) {
  if (IsWhole(number)) return Shortest(static_cast<std::int64_t>(number));
  return IsFloat(number) ? Shortest(static_cast<float>(number)) : Shortest(number);
}

// Only numbers that the store writes have apostrophes.
struct SwissNumbers : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '\''; }
  std::string do_grouping() const override { return "\3"; }
};

class Host {
 public:
  explicit Host(FuzzedDataProvider& input) : data(input) {}
  ~Host() { std::locale::global(std::locale::classic()); }

  void Run() {
    while (data.remaining_bytes() > 0) {
      const std::string key = data.ConsumeBool() ? "a" : "b";
      const auto operation = data.ConsumeIntegralInRange(0, 8);
      if (operation == 0) ChangeLocale();
      if (operation == 1) store.Remove(key);
      if (operation == 2) store.SetInt(key, data.PickValueInArray(Ints));
      if (operation == 3) store.SetString(key, DrawText());
      if (operation == 4) WriteFloat(key);
      if (operation == 5 || operation == 6) ReadInt(key);
      if (operation > 6) ReadFloat(key);
    }
  }

 private:
  void ChangeLocale() {
    groups = !groups;
    const std::locale classic = std::locale::classic();
    std::locale::global(groups ? std::locale(classic, new SwissNumbers) : classic);
  }

  std::string DrawText() {
    const auto kind = data.ConsumeIntegralInRange(0, 4);
    if (kind == 0) return Shortest(data.PickValueInArray(Floats));
    if (kind == 1) return Shortest(static_cast<float>(data.PickValueInArray(Floats)));
    if (kind > 2) return data.PickValueInArray(Words);
    return "+" + std::to_string(data.ConsumeIntegralInRange(INT32_MAX - 2LL, INT32_MAX + 2LL));
  }

  void WriteFloat(const std::string& key) {
    const double number = data.PickValueInArray(Floats);
    reader.WriteFloat(key, number);
    Check(store.FindString(key) == FloatText(number), "a number is written in the fewest digits");
  }

  void ReadInt(const std::string& key) {
    const std::int32_t fallback = data.PickValueInArray(Ints);
    const auto [lowest, highest] =
        std::minmax({data.PickValueInArray(Ints), data.PickValueInArray(Ints)});
    const std::optional<std::string> before = store.FindString(key);
    const std::int32_t value = reader.ReadInt(key, fallback, lowest, highest);
    std::string digits = *store.FindString(key);
    CheckText(key, before.value_or(digits));
    if (groups) std::erase(digits, '\'');
    const std::optional<std::int32_t> number = ToInt(digits);
    const bool isRight =
        number == fallback || (number.has_value() && *number >= lowest && *number <= highest);
    Check(value == (isRight ? number : fallback), "a whole number is read");
    Check(before.has_value() || number == fallback, "a missing key gets the fallback");
    CheckWarnings(key, isRight);
  }

  void ReadFloat(const std::string& key) {
    const double fallback = data.PickValueInArray(Floats);
    auto [lowest, highest] =
        std::minmax({data.PickValueInArray(Floats), data.PickValueInArray(Floats)});
    if (data.ConsumeBool()) highest = std::numeric_limits<double>::infinity();
    const std::string text = store.FindString(key).value_or(FloatText(fallback));
    const double value = reader.ReadFloat(key, fallback, lowest, highest);
    CheckText(key, text);
    const auto compared = [fallback](double number) {
      return IsFloat(fallback) && !IsWhole(number) ? Round(number) : number;
    };
    const std::optional<double> number = ToFloat(text);
    const bool isFallback =
        text == FloatText(fallback) || (number.has_value() && compared(*number) == fallback);
    const bool isRight =
        isFallback || (number.has_value() && compared(*number) >= compared(lowest) &&
                       compared(*number) <= compared(highest));
    Check(value == (isRight && text != FloatText(fallback) ? number : fallback),
          "a number is read");
    CheckWarnings(key, isRight);
  }

  void CheckText(const std::string& key, const std::string& text) {
    Check(store.FindString(key) == text, "a value stays, and a missing one is added");
  }

  void CheckWarnings(const std::string& key, bool isRight) {
    const std::string text = *store.FindString(key);
    if (!isRight && std::exchange(warned[key], text) != text)
      warnings.push_back("Setting '" + key + "' is '" + text + "', not a ");
    const auto beginsSo = [](const Kit::StandInLog::Line& line, const std::string& beginning) {
      return line.text.starts_with(beginning);
    };
    Check(
        std::equal(log.lines.begin(), log.lines.end(), warnings.begin(), warnings.end(), beginsSo),
        "each wrong text gets one warning");
  }

  FuzzedDataProvider& data;
  bool groups = false;
  Kit::StandInSettings store;
  Kit::StandInLog log;
  Kit::SettingsReader reader{store, log};
  std::map<std::string, std::optional<std::string>> warned;
  std::vector<std::string> warnings;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  Host(data).Run();
  return 0;
}

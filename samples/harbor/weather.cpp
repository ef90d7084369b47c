// The weather, as a plugin: a module that is built separately, finds the host's services in the
// storage, and can be unloaded while the harbor works.
#include <common/kit/timers.h>

#include <algorithm>
#include <string>

#include "plugin.h"
#include "storage.h"
#include "totem_values.h"

namespace Harbor {
namespace {

constexpr float MeanForce = 6.0F;  // of the wind, on Beaufort's scale
constexpr float ForceSwing = 5.0F;

// Everything that points at this module's code is a member, so it ends with the plugin.
class Weather final : public Plugin {
 public:
  explicit Weather(const PluginHost& host)
      : log(*Log::Get()),
        totem(*Totem::Get()),
        wind(Clock::Get()->MakePeriodic(Common::PeriodicKind::Sine, host.dayLength * 2 / 3, 0.0F)),
        timers(host.frames),
        watch(host.frames.CreateReactor(0)) {
    watch->SetCallback([this](std::uint64_t) { Observe(); });
    timers.Every(host.dayLength / 4, [this] { Report(); });
  }

  // While nobody observes the wind, no ship has to wait for it.
  ~Weather() override { WriteWindForce(totem, 0); }

  Weather(const Weather&) = delete;
  Weather& operator=(const Weather&) = delete;

 private:
  void Observe() {
    const auto force = static_cast<std::uint8_t>(MeanForce + ForceSwing * wind->GetValue());
    const bool wasGale = isGale;
    isGale = force >= GaleForce;
    if (isGale && !wasGale) log.LogWarning("gale warning: wind force " + std::to_string(force));
    if (!isGale && wasGale) log.LogMessage("the gale is over");
    WriteWindForce(totem, force);
  }

  void Report() { log.LogMessage("wind force " + std::to_string(ReadWindForce(totem))); }

  Common::Log::SMessageLog& log;
  Common::SMessageTotem& totem;
  const Vorn::IntrudablePtr<Common::IPeriodic> wind;
  Common::Kit::Timers timers;
  const Vorn::IntrudablePtr<Common::IFrameReactor> watch;
  bool isGale = false;
};

}  // namespace
}  // namespace Harbor

// NOLINTNEXTLINE(bugprone-exception-escape)
Harbor::Plugin* StartHarborPlugin1(const Harbor::PluginHost& host) noexcept {
  // NOLINTNEXTLINE(bugprone-unhandled-exception-at-new)
  return new Harbor::Weather(host);
}

// A plugin that fails, for the check of the host: its first tick throws what nobody catches.
#include "plugin.h"

namespace {

struct Wreck final : Harbor::Plugin {
  explicit Wreck(Common::SFrameUtility& frames) : reactor(frames.CreateReactor(0)) {
    reactor->SetCallback([](std::uint64_t frameNumber) { throw frameNumber; });
  }

  const Vorn::IntrudablePtr<Common::IFrameReactor> reactor;
};

}  // namespace

Harbor::Plugin* StartHarborPlugin1(const Harbor::PluginHost& host) noexcept {
  // NOLINTNEXTLINE(bugprone-unhandled-exception-at-new)
  return new Wreck(host.frames);
}

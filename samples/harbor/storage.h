// How the host and its plugins find what they share: each module asks the storage for the services
// by type, and no pointers are passed around.
#pragma once

#include <common/message_log.h>
#include <common/message_totem.h>
#include <common/time_provider.h>
#include <vorn_lnk/singleton>

#include <memory>

namespace Harbor {

using Clock = Vorn::Service<Common::STimeProvider>;
using Log = Vorn::Service<Common::Log::SMessageLog>;
using Totem = Vorn::Service<Common::SMessageTotem>;

}  // namespace Harbor

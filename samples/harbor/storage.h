// Where the host and its plugins find what they share: each module of the process asks the storage
// for the services by type, and no pointer is passed around.
#pragma once

#include <common/message_log.h>
#include <common/message_totem.h>
#include <common/time_provider.h>
#include <vorn_lnk/singleton>

#include <memory>

namespace Harbor {

using Clock = Vorn::Singleton<Common::STimeProvider, std::shared_ptr>;
using Log = Vorn::Singleton<Common::Log::SMessageLog, std::shared_ptr>;
using Totem = Vorn::Singleton<Common::SMessageTotem, std::shared_ptr>;

}  // namespace Harbor

// Names and addresses of hosts.
#pragma once

#include <string>

#include "platform/Export.h"

namespace platform {

/// IPv4 address of a host as "192.0.2.1"; an address stands for itself. Asks the system's resolver, which may take
/// seconds. Any thread. @return empty when there is none
PLATFORM_API std::wstring resolveIpv4(const std::wstring& host);

}  // namespace platform

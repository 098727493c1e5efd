#include <array>

#include "platform/MessageTexts.h"

namespace platform {
namespace {

constexpr auto kTexts = std::to_array<MessageText>({
    {2102, L"The workstation driver is not installed."},
    {2103, L"The server could not be located."},
    {2104, L"An internal error occurred. The network cannot access a shared memory segment."},
    {2105, L"A network resource shortage occurred."},
    {2106, L"This operation is not supported on workstations."},
    {2107, L"The device is not connected."},
    {2114, L"The server service is not started."},
    {2115, L"The queue is empty."},
    {2116, L"The device or directory does not exist."},
    {2117, L"The operation is invalid on a redirected resource."},
    {2118, L"The name has already been shared."},
    {2119, L"The server is currently out of the requested resource."},
    {2121, L"Requested addition of items exceeds the maximum allowed."},
    {2123, L"The buffer is too small for the data."},
    {2127, L"A remote access error occurred."},
    {2136, L"A general network error occurred."},
    {2137, L"The workstation service is in an inconsistent state."},
    {2138, L"The workstation service has not been started."},
    {2140, L"An internal error occurred in the network service."},
    {2141, L"The server is not configured for transactions."},
    {2142, L"The requested function is not supported on the remote server."},
    {2182, L"The requested service has already been started."},
    {2184, L"The service has not been started."},
    {2185, L"The service name is invalid."},
    {2186, L"The service is not responding to the control function."},
    {2202, L"The user name or group name is invalid."},
    {2203, L"The password is invalid."},
    {2210, L"The server name is invalid."},
    {2220, L"The group name could not be found."},
    {2221, L"The user name could not be found."},
    {2222, L"The resource name could not be found."},
    {2223, L"The group already exists."},
    {2224, L"The account already exists."},
    {2226, L"This operation is only allowed on the primary controller of the domain."},
    {2239, L"This account has expired."},
    {2240, L"The user is not allowed to log on from this workstation."},
    {2241, L"The user is not allowed to log on at this time."},
    {2242, L"The password of this user has expired."},
    {2243, L"The password of this user cannot change."},
    {2245, L"The password does not meet the requirements."},
    {2250, L"This network connection does not exist."},
    {2270, L"The computer name could not be added as a message alias on the network."},
    {2310, L"This shared resource does not exist."},
    {2312, L"A session does not exist with that computer name."},
    {2314, L"There is not an open file with that identification number."},
    {2320, L"The computer is not active in this domain."},
    {2401, L"There are open files on the connection."},
    {2402, L"Active connections still exist."},
    {2404, L"The device is being accessed by an active process."},
    {2453, L"The domain controller could not be found."},
    {2457, L"The clocks of this computer and of the domain controller differ too much."},
    {2481, L"The power supply service is not configured correctly."},
    {2692, L"This machine is already a member of a domain or workgroup."},
});
static_assert(isAscending(kTexts));

}  // namespace

std::span<const MessageText> networkMessageTexts() {
  return kTexts;
}

}  // namespace platform

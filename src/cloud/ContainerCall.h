// What the functions of resource containers share: the test for "no container", one guarded call of the service, and
// the message that a failure gives the user.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "cloud/CloudCall.h"

namespace Quorvel::FileAccess {

/// Numbers of the host's messages.
enum class ContainerMessage : int {
  TeamNotFound = 1500493,
  LockCheckFailed = 1500647,
  DownloadFailed = 1500648,
  CreateFailed = 1500654,
  DeleteFailed = 1500655,
  LockFailed = 1500657,
  UnlockFailed = 1500658,
  UploadFailed = 1500659,
  CopyFailed = 1500660,
  ListFailed = 1500661,
  SubscribeFailed = 1500662,
  UnsubscribeFailed = 1500663,
};

/// Text of the nil GUID, which stands for the standard resources of this workstation.
std::wstring localStandardResources();
/// True for an empty text and for the nil GUID's: no server knows it.
bool isNoContainer(const std::wstring& uuid);

/// Runs `operation(service)`; what the service throws becomes a failure.
template <typename Operation>
CloudStatus callService(const wchar_t* function, Operation&& operation) {
  return guardedCall(function, [&] { return operation(*QuorvelCloudController()->GetProjectService()); });
}

// Parameters of a message: the status, then what it is about, each ended by a control character.

std::wstring messageParameters(CloudStatus status);
/// @param subject  container or path
std::wstring messageParameters(CloudStatus status, const std::wstring& subject);
/// The status as a decimal number.
std::wstring copyParameters(CloudStatus status, const std::wstring& from, const std::wstring& to);

void tellUser(ContainerMessage message, const std::wstring& parameters);

/// Brings a container's content into a directory, which need not be its own cache.
bool downloadContainer(const wchar_t* function, const std::wstring& container, const std::wstring& path, bool quiet);

}  // namespace Quorvel::FileAccess

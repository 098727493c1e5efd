// The statuses of the embedded cloud store. All failures are negative, so that they fail for callers that look at the
// sign alone; the lower half is the error code whose system text tells a user what happened.
#pragma once

#include "host/Cloud.h"
#include "platform/WindowsTypes.h"

namespace workstation {

/// Status for an error code of the platform; 0 stays 0.
constexpr CloudStatus statusOfError(DWORD code) {
  return code == ERROR_SUCCESS ? 0 : static_cast<CloudStatus>(0x80070000U | (code & 0xFFFFU));
}

constexpr CloudStatus kStoreOk = 0;
constexpr CloudStatus kStoreNotFound = statusOfError(ERROR_FILE_NOT_FOUND);
constexpr CloudStatus kStoreAccessDenied = statusOfError(ERROR_ACCESS_DENIED);
constexpr CloudStatus kStoreInvalidData = statusOfError(ERROR_INVALID_DATA);
constexpr CloudStatus kStoreInUse = statusOfError(ERROR_SHARING_VIOLATION);
constexpr CloudStatus kStoreLocked = statusOfError(33);
constexpr CloudStatus kStoreNotLocked = statusOfError(158);
constexpr CloudStatus kStoreInvalidParameter = statusOfError(ERROR_INVALID_PARAMETER);
constexpr CloudStatus kStoreDiskFull = statusOfError(ERROR_DISK_FULL);
constexpr CloudStatus kStoreInvalidName = statusOfError(ERROR_INVALID_NAME);
constexpr CloudStatus kStoreExists = statusOfError(ERROR_ALREADY_EXISTS);
constexpr CloudStatus kStoreTimeout = statusOfError(ERROR_TIMEOUT);
constexpr CloudStatus kStoreNotConnected = statusOfError(ERROR_NOT_CONNECTED);
constexpr CloudStatus kStoreNotImplemented = static_cast<CloudStatus>(0x80004001U);
constexpr CloudStatus kStoreFailure = static_cast<CloudStatus>(0x80004005U);
/// The store was written by a newer program.
constexpr CloudStatus kStoreNewerVersion = static_cast<CloudStatus>(0x80041001U);

/// A side of a transfer is no longer what the one who decided on it saw; see TransferConditions.h.
constexpr CloudStatus kStoreChanged = static_cast<CloudStatus>(0x80041002U);

/// The code in a status made by statusOfError; the status itself for any other.
constexpr DWORD errorOfStatus(CloudStatus status) {
  const auto bits = static_cast<std::uint32_t>(status);
  return (bits & 0xFFFF0000U) == 0x80070000U ? bits & 0xFFFFU : bits;
}

}  // namespace workstation

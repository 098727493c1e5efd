// How a failure travels inside the store: thrown where it is understood, turned into a status and a text at the
// exported operation. It never leaves the room.
#pragma once

#include <exception>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "workstation/store/StoreStatus.h"

namespace workstation {

struct StoreError {
  CloudStatus status;
  std::wstring text;
};

/// Keeps the text for CloudStore::lastText() of this thread.
void setLastStoreText(std::wstring text);

/// Runs `work`. @return what it threw
template <typename Work>
std::optional<StoreError> caughtFrom(Work&& work) {
  try {
    std::forward<Work>(work)();
    return std::nullopt;
  } catch (const StoreError& error) {
    return error;
  } catch (const std::bad_alloc&) {
    return StoreError{statusOfError(ERROR_NOT_ENOUGH_MEMORY), L"not enough memory"};
  } catch (const std::exception&) {
    return StoreError{kStoreFailure, L"the cloud store failed unexpectedly"};
  }
}

/// Runs the body of an exported operation. @return 0, or the status of what it threw
template <typename Work>
CloudStatus answerOf(Work&& work) {
  std::optional<StoreError> error = caughtFrom(std::forward<Work>(work));
  if (!error) return kStoreOk;
  setLastStoreText(std::move(error->text));
  return error->status;
}

}  // namespace workstation

// How a failure travels inside the store: thrown where it is understood, turned into a status and a text at the
// exported operation. It never leaves the room.
#pragma once

#include <exception>
#include <new>
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

/// Runs the body of an exported operation. @return 0, or the status of what it threw
template <typename Work>
CloudStatus answerOf(Work&& work) {
  try {
    std::forward<Work>(work)();
    return kStoreOk;
  } catch (const StoreError& error) {
    setLastStoreText(error.text);
    return error.status;
  } catch (const std::bad_alloc&) {
    setLastStoreText(L"not enough memory");
    return statusOfError(ERROR_NOT_ENOUGH_MEMORY);
  } catch (const std::exception&) {
    setLastStoreText(L"the cloud store failed unexpectedly");
    return kStoreFailure;
  }
}

}  // namespace workstation

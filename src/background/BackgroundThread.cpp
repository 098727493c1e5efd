#include "background/BackgroundThread.h"

#include <exception>
#include <thread>
#include <utility>

#include "cloud/CloudCall.h"
#include "platform/Synchronisation.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::runDetached";

}  // namespace

bool runDetached(const std::wstring& name, std::atomic<std::size_t>& count, std::function<void()> work) {
  ++count;
  try {
    std::thread([name, &count, work = std::move(work)]() mutable {
      platform::nameThisThread(name);
      guardedCall(kFunction, [&] {
        work();
        return CloudStatus{0};
      });
      // What the work holds goes before anybody learns that it is done.
      work = nullptr;
      --count;
    }).detach();
    return true;
  } catch (const std::exception&) {
    // No thread, or no memory for one.
    --count;
    return false;
  }
}

}  // namespace Quorvel::FileAccess

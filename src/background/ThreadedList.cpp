#include "background/ThreadedList.h"

#include <boost/chrono/duration.hpp>
#include <boost/thread/thread.hpp>
#include <exception>
#include <new>

#include "host/System.h"
#include "zephor/Diagnostics.h"
#include "zephor/Progress.h"

namespace Quorvel::FileAccess::Threading {
namespace {

constexpr const wchar_t* kThreadingSetting = L"Settings\\WGOUseThreading";
constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::Threading::ThreadedList::run";
constexpr int kPollMilliseconds = 100;

bool readThreadingSetting() {
  int value = 0;
  if (!ZSYST_ZepRegGetNumber(L"HKCU", kThreadingSetting, value)) {
    value = 0;
    ZSYST_ZepRegPutNumber(L"HKCU", kThreadingSetting, value);
  }
  return value != 0;
}

/// What an exception that left an element or the worker counts as. In a catch block.
DWORD errorOfException() {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  } catch (const std::exception& exception) {
    ConnectionLogger::traceFmt(1, L"%s: %s", kFunction, platform::fromUtf8(exception.what()));
  } catch (...) {
    ConnectionLogger::traceFmt(1, L"%s: unknown exception", kFunction);
  }
  return ERROR_GEN_FAILURE;
}

}  // namespace

bool isThreadingAllowed() {
  static const bool kAllowed = readThreadingSetting();
  return kAllowed;
}

DWORD ThreadedList::run(std::size_t count, const Element& element, const std::function<void()>& threadFunc,
                        IProgress** progress) {
  element_ = &element;
  if (isThreadingAllowed() && count >= kFewestForThreads) {
    runOnWorker(threadFunc, progress);
    return firstError_;
  }
  for (std::size_t index = 0; index < count; ++index) {
    workOn(index, index + 1);
    step(progress);
  }
  return firstError_;
}

void ThreadedList::runOnWorker(const std::function<void()>& threadFunc, IProgress** progress) {
  boost::thread worker([&] {
    try {
      threadFunc();
    } catch (...) {
      keepError(errorOfException());
    }
  });
  // Whatever leaves this function early, a step of the progress or an interruption, waits for the worker first, which
  // works on what lies on this stack.
  struct Joiner {
    boost::thread& thread;
    ~Joiner() {
      const boost::this_thread::disable_interruption uninterrupted;
      if (thread.joinable()) thread.join();
    }
  };
  const Joiner joiner{worker};
  while (!worker.try_join_for(boost::chrono::milliseconds(kPollMilliseconds))) step(progress);
  step(progress);
}

void ThreadedList::workOn(std::size_t begin, std::size_t end) {
  for (std::size_t index = begin; index < end; ++index) {
    try {
      keepError((*element_)(index));
    } catch (...) {
      keepError(errorOfException());
    }
    ++done_;
  }
}

void ThreadedList::keepError(DWORD error) {
  DWORD none = 0;
  if (error != 0) firstError_.compare_exchange_strong(none, error);
}

void ThreadedList::step(IProgress** progress) const {
  if (progress != nullptr && *progress != nullptr) (*progress)->setPos(done_, false);
}

}  // namespace Quorvel::FileAccess::Threading

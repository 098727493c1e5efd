#include "platform/Synchronisation.h"

#include <pthread.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/Errors.h"
#include "platform/Handles.h"
#include "platform/Text.h"

namespace platform {
namespace {

class Event;

/// The named events that somebody still holds. Never destroyed: events may end after the statics of this file.
class EventNames {
 public:
  static EventNames& instance() {
    static auto* const names = new EventNames;
    return *names;
  }

  std::shared_ptr<Event> find(const std::wstring& name) {
    const std::scoped_lock lock(mutex_);
    return findLocked(name);
  }

  /// The event of that name, or a new one. @return whether it was there
  std::pair<std::shared_ptr<Event>, bool> findOrCreate(const std::wstring& name, bool manualReset, bool signalled);

  /// Called by an event that ends; another of the same name may have taken its place already.
  void forget(const std::wstring& name) {
    const std::scoped_lock lock(mutex_);
    const auto found = events_.find(name);
    if (found != events_.end() && found->second.expired()) events_.erase(found);
  }

 private:
  std::shared_ptr<Event> findLocked(const std::wstring& name) {
    const auto found = events_.find(name);
    return found != events_.end() ? found->second.lock() : nullptr;
  }

  std::mutex mutex_;
  std::map<std::wstring, std::weak_ptr<Event>> events_;
};

class Event : public HandleObject {
 public:
  Event(std::wstring name, bool manualReset, bool signalled)
      : name_(std::move(name)), manualReset_(manualReset), signalled_(signalled) {}
  ~Event() override {
    if (!name_.empty()) EventNames::instance().forget(name_);
  }

  void set() {
    const std::scoped_lock lock(mutex_);
    signalled_ = true;
    if (manualReset_) {
      changed_.notify_all();
    } else {
      changed_.notify_one();
    }
  }

  void reset() {
    const std::scoped_lock lock(mutex_);
    signalled_ = false;
  }

  /// @return false when the time has passed
  bool wait(DWORD milliseconds) {
    std::unique_lock lock(mutex_);
    const auto isSignalled = [this] { return signalled_; };
    if (milliseconds == INFINITE) {
      changed_.wait(lock, isSignalled);
    } else if (!changed_.wait_for(lock, std::chrono::milliseconds(milliseconds), isSignalled)) {
      return false;
    }
    if (!manualReset_) signalled_ = false;
    return true;
  }

 private:
  const std::wstring name_;
  const bool manualReset_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool signalled_;
};

std::pair<std::shared_ptr<Event>, bool> EventNames::findOrCreate(const std::wstring& name, bool manualReset,
                                                                 bool signalled) {
  const std::scoped_lock lock(mutex_);
  if (auto found = findLocked(name)) return {std::move(found), true};
  auto created = std::make_shared<Event>(name, manualReset, signalled);
  events_[name] = created;
  return {std::move(created), false};
}

constexpr std::size_t kSlotCount = 1088;

/// Slots of all threads. Each use of a slot has a number of its own, so that a value left in some thread by an earlier
/// use is never taken for one of the present.
class SlotTable {
 public:
  static SlotTable& instance() {
    static auto* const table = new SlotTable;
    return *table;
  }

  DWORD allocate() {
    const std::scoped_lock lock(mutex_);
    for (std::size_t i = 0; i < kSlotCount; ++i) {
      if (uses_[i].load(std::memory_order_relaxed) != 0) continue;
      uses_[i].store(++lastUse_, std::memory_order_release);
      return static_cast<DWORD>(i);
    }
    return TLS_OUT_OF_INDEXES;
  }

  bool free(DWORD index) {
    const std::scoped_lock lock(mutex_);
    if (useOf(index) == 0) return false;
    uses_[index].store(0, std::memory_order_release);
    return true;
  }

  /// Number of the slot's present use; 0 when it is free.
  std::uint64_t useOf(DWORD index) const {
    return index < kSlotCount ? uses_[index].load(std::memory_order_acquire) : 0;
  }

 private:
  std::mutex mutex_;
  std::uint64_t lastUse_ = 0;
  std::array<std::atomic<std::uint64_t>, kSlotCount> uses_{};
};

struct SlotValue {
  std::uint64_t use = 0;
  void* value = nullptr;
};

/// The thread's values; null until it sets one. A plain pointer, because exit hooks still read their slots when the
/// objects of the main thread have ended.
thread_local std::vector<SlotValue>* slotValues = nullptr;

/// Frees the values of a thread that ends before the process does.
struct ThreadEnd {
  ~ThreadEnd() {
    delete slotValues;
    slotValues = nullptr;
  }
};

std::vector<SlotValue>& demandSlotValues() {
  if (slotValues != nullptr) return *slotValues;
  // The main thread's are never freed: its end is the process's, and the hooks come after it.
  const bool isMainThread = ::gettid() == ::getpid();
  if (!isMainThread) {
    thread_local const ThreadEnd end;
  }
  slotValues = new std::vector<SlotValue>;
  return *slotValues;
}

}  // namespace

void nameThisThread(std::wstring_view name) {
  constexpr std::size_t kLongest = 15;
  std::string text = toUtf8(name.substr(0, kLongest));
  // Cut in front of a character, never within one.
  if (text.size() > kLongest) {
    std::size_t end = kLongest;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
    text.resize(end);
  }
  pthread_setname_np(pthread_self(), text.c_str());
}

}  // namespace platform

HANDLE CreateEventW(void* /*security*/, BOOL manualReset, BOOL initialState, const wchar_t* name) {
  const bool manual = manualReset != FALSE;
  const bool signalled = initialState != FALSE;
  std::shared_ptr<platform::Event> event;
  bool existed = false;
  if (name != nullptr && *name != L'\0') {
    std::tie(event, existed) = platform::EventNames::instance().findOrCreate(name, manual, signalled);
  } else {
    event = std::make_shared<platform::Event>(std::wstring(), manual, signalled);
  }
  const HANDLE handle = platform::insertHandle(std::move(event));
  SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return handle;
}

HANDLE OpenEventW(DWORD /*access*/, BOOL /*inherit*/, const wchar_t* name) {
  if (name == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  std::shared_ptr<platform::Event> event = platform::EventNames::instance().find(name);
  if (!event) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return nullptr;
  }
  return platform::insertHandle(std::move(event));
}

BOOL SetEvent(HANDLE event) {
  const auto found = platform::findHandleOf<platform::Event>(event);
  if (!found) return FALSE;
  found->set();
  return TRUE;
}

BOOL ResetEvent(HANDLE event) {
  const auto found = platform::findHandleOf<platform::Event>(event);
  if (!found) return FALSE;
  found->reset();
  return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  const auto found = platform::findHandleOf<platform::Event>(handle);
  if (!found) return WAIT_FAILED;
  return found->wait(milliseconds) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

DWORD TlsAlloc() {
  return platform::SlotTable::instance().allocate();
}

void* TlsGetValue(DWORD index) {
  const std::uint64_t use = platform::SlotTable::instance().useOf(index);
  if (use == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  SetLastError(ERROR_SUCCESS);
  const auto* const values = platform::slotValues;
  if (values == nullptr || index >= values->size()) return nullptr;
  const platform::SlotValue& slot = (*values)[index];
  return slot.use == use ? slot.value : nullptr;
}

BOOL TlsSetValue(DWORD index, void* value) {
  const std::uint64_t use = platform::SlotTable::instance().useOf(index);
  if (use == 0) return platform::fail(ERROR_INVALID_PARAMETER);
  auto& values = platform::demandSlotValues();
  if (values.size() <= index) values.resize(std::size_t{index} + 1);
  values[index] = {use, value};
  return TRUE;
}

BOOL TlsFree(DWORD index) {
  if (!platform::SlotTable::instance().free(index)) return platform::fail(ERROR_INVALID_PARAMETER);
  return TRUE;
}

DWORD GetCurrentThreadId() {
  return static_cast<DWORD>(::gettid());
}

DWORD GetCurrentProcessId() {
  return static_cast<DWORD>(::getpid());
}

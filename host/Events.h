// Named global events of the host.
#pragma once

#include <string>

#include "host/Export.h"

/// The event that a data conversion of the project is running.
constexpr const wchar_t* kDatwaRunningEvent = L"ONDRATH_DATWA_RUNNING";

class HOST_API globalEventManager {
 public:
  static globalEventManager& instance();
  /// True when the named event is set. @param data  receives the event's text when not null
  bool get(const std::wstring& name, std::wstring* data) const;
  void set(const std::wstring& name, const std::wstring& data);
  void reset(const std::wstring& name);
};

/// Tells the parts of the application that something was reloaded below them. From any thread.
class HOST_API ZP_EventDispatcher {
 public:
  virtual ~ZP_EventDispatcher() = default;
  virtual void FireEvent() = 0;
};
/// The dispatcher that those listen to who depend on the standard resources; never null, owned by the host.
HOST_API ZP_EventDispatcher* Zephor_CallbackCenter_GetCenter();

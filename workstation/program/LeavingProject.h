// A project that this workstation leaves: opened without being joined anew, with or without the store.
#pragma once

#include <string>
#include <vector>

#include "workstation/store/CloudStore.h"

namespace workstation::program {

class Context;

struct LeftProject {
  std::wstring uuid;
  std::wstring name;
  bool hasStore = false;          ///< the store answers, and knows this user as a member
  std::wstring whyNot;            ///< otherwise
  std::vector<ObjectLock> locks;  ///< of this user from this workstation, as far as the store tells
};

/// Opens what lies on this workstation of a project, in this process alone; nothing is made where there is nothing.
/// Throws CommandFailure when there is no directory of it.
/// @param nameOrUuid  a name needs the store; empty: of the project that was open last
LeftProject openToLeave(Context& context, const std::wstring& nameOrUuid);

/// "tb12".
std::wstring nameOf(const ObjectLock& lock);

}  // namespace workstation::program

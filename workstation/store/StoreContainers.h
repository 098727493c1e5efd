// What the store's operations on resource containers share inside the room.
#pragma once

#include <string>

#include "workstation/store/CloudStore.h"

namespace workstation {

class Connection;

/// Throws kStoreNotFound for who is not in the container's team, kStoreAccessDenied for a role below `weakest`.
StoreContainer requireContainer(Connection& connection, const StoreActor& actor, const std::wstring& uuid,
                                StoreRole weakest);
/// Whether the actor has its lock, from this workstation.
bool isHeldBy(const StoreContainer& container, const StoreActor& actor);
/// kStoreLocked, with who holds it; or that nobody does.
[[noreturn]] void throwLockedContainer(const StoreContainer& container);

}  // namespace workstation

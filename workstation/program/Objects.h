// The objects of the open project as the commands see them: what is here, what the store has, and how the two stand.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "workstation/program/ObjectName.h"
#include "workstation/program/ObjectState.h"

struct FileLockInfo;

namespace workstation::program {

class Context;

/// One object with both its sides.
struct ObjectView {
  ObjectName object;
  std::wstring name;  ///< shown to the user; from the side that has it, this one first
  std::optional<VersionStamp> here;
  std::optional<VersionStamp> store;
  std::optional<VersionStamp> base;
  bool damagedHere = false;  ///< there is a file, but its header can't be read
  ObjectState state = ObjectState::Nowhere;
};

/// Objects that arguments name, each once. Throws CommandFailure (usage) for one that names none.
std::vector<ObjectName> objectArguments(const std::vector<std::string>& arguments);

/// "Anna Berg on drawing-room since 2026-11-21 18:04:05 UTC".
std::wstring holderOf(const FileLockInfo& info);

/// All objects of the open project on either side, in the order of kind and number. One listing of the store for each
/// kind. Throws CommandFailure when the store can't be asked.
std::vector<ObjectView> readObjects();
/// The same for some objects.
std::vector<ObjectView> readObjects(const std::vector<ObjectName>& objects);
/// What is here of one object.
ObjectView readLocal(const ObjectName& object);

/// Brings the object's row in the project database in line with its file, which is what an upload takes the header
/// from.
void noteInDatabase(const ObjectName& object);

/// Full library path of an object's file in the open project.
std::wstring objectPath(const ObjectName& object);

}  // namespace workstation::program

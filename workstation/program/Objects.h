// The items of the open project as the commands see them: objects and other files, what is here, what the store has,
// and how the two stand.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "workstation/program/ObjectName.h"
#include "workstation/program/ObjectState.h"
#include "workstation/store/CacheRecord.h"

struct FileLockInfo;

namespace workstation::program {

class Context;

/// One item with both its sides.
struct ItemView {
  std::optional<ObjectName> object;  ///< nothing for another file of the project
  std::wstring fileName;             ///< relative to the project, with backslashes
  std::wstring title;                ///< an object's name for people
  std::optional<VersionStamp> here;
  FileContent file;  ///< size and time of the file here, taken before its header was read; not known: none
  std::optional<VersionStamp> store;
  std::int64_t revision = 0;  ///< of the stored file, listed before its header; 0: there was none
  bool same = false;          ///< both sides hold the same content, as far as both tell
  std::optional<SyncPoint> base;
  bool damagedHere = false;  ///< there is a file, but its header or its content can't be read
  ObjectState state = ObjectState::Nowhere;

  /// Whether it is here as it was when it was last in step with the store.
  bool isUnchangedHere() const { return here && base && *here == base->here; }
  /// The store has the object, and can't tell its version: the header that it keeps is missing or damaged.
  bool isUntold() const { return object && !store && revision != 0; }
  /// "tb12", or the file's name.
  std::wstring label() const { return object ? object->shortName() : fileName; }
};

/// What a command's arguments name.
struct ItemName {
  std::optional<ObjectName> object;
  std::wstring fileName;
};

/// Objects that arguments name, each once. Throws CommandFailure (usage) for one that names none.
std::vector<ObjectName> objectArguments(const std::vector<std::string>& arguments);
/// Objects and other files that arguments name, each once. Throws CommandFailure (usage) for a name that is neither,
/// and for the workstation's own files.
std::vector<ItemName> itemArguments(const std::vector<std::string>& arguments);
/// The item that a file of the project (its relative name) stands for.
ItemName itemOfFile(const std::wstring& fileName);
std::vector<ItemName> itemsOf(const std::vector<ObjectName>& objects);

/// The host's and the program's own files, which no other workstation has a use for, and the list of users, which the
/// library alone sends, brings and mends.
bool isPrivateFile(const std::wstring& name);
/// Why such a file does not travel.
std::wstring whyPrivate(const std::wstring& name);
/// The same by the name's key (workstation/store/DirectoryScan.h).
bool isPrivateKey(std::string_view key);
/// Whether a name is private by its ending alone: it may be a user's file all the same, which is never sent.
bool isUsersPrivate(std::string_view key);

/// "Anna Berg on drawing-room since 2026-11-21 18:04:05 UTC".
std::wstring holderOf(const FileLockInfo& info);

/// Whether this user holds the lock of an object.
bool isLockedHere(const ItemView& view);

/// All objects of the open project on either side, in the order of kind and number. One listing of the store for each
/// kind. Throws CommandFailure when the store can't be asked.
std::vector<ItemView> readObjects();
/// The same for some items.
std::vector<ItemView> readItems(const std::vector<ItemName>& items);
/// What is here of one item now; its other members stay empty.
ItemView readLocal(const ItemName& item);

/// True for items whose header the store keeps, so that both sides tell the same stamp.
bool hasStoredHeader(const ItemView& view);

/// Brings the object's row in the project database in line with its file, which is what an upload takes the header
/// from.
void noteInDatabase(const ObjectName& object);

/// Full library path of an item's file in the open project.
std::wstring itemPath(const std::wstring& fileName);
std::wstring objectPath(const ObjectName& object);

}  // namespace workstation::program

// How a person names an object: "tb12", "12" (a Teilbild), "pb3", "ze7", or the whole file name.
#pragma once

#include <optional>
#include <string>

#include "host/FileTypes.h"

namespace workstation::program {

struct ObjectName {
  QuorvelFileType type = eFileType_Teilbild;
  int number = 0;

  /// Object type of the transfer interface and of the locks: 0 Teilbild, 1 Zeichnung, 2 Plan.
  int objectType() const;
  std::wstring fileName() const;
  /// Short form, as it is shown: "tb12".
  std::wstring shortName() const;
  bool operator==(const ObjectName&) const = default;
};

/// @return nothing for a text that names no object
std::optional<ObjectName> parseObjectName(const std::wstring& text);
/// "tb" or "teilbild", "pb", "pl" or "plan", "ze" or "zeichnung".
std::optional<QuorvelFileType> parseObjectType(const std::wstring& text);
/// File type of an object type of the locks.
QuorvelFileType fileTypeOf(int objectType);

}  // namespace workstation::program

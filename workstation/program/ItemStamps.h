// What the two sides of an item tell as its version, from headers and from the files themselves. Pure.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/Records.h"
#include "workstation/program/ObjectName.h"
#include "workstation/program/ObjectState.h"

namespace workstation {
struct FileContent;
}

namespace workstation::program {

VersionStamp stampOf(const TeilbildHeader& header);
VersionStamp stampOf(const PlanHeader& header);
VersionStamp stampOf(const ZeichnungHeader& header);
/// A file on the disk that has no header, or none that is kept in the store.
VersionStamp stampOf(const FileContent& here);
/// Such a file in the store, whose listings tell times in whole seconds.
VersionStamp stampOfStored(std::int64_t revision, std::int64_t size, std::int64_t modified);
/// An object of which the store keeps the header. @return nothing for an image that is damaged or of another object
std::optional<VersionStamp> stampOfImage(const ObjectName& object, const std::vector<std::uint8_t>& image);

/// True for objects whose header the store keeps, so that both sides tell the same stamp.
bool hasStoredHeader(const std::optional<ObjectName>& object);

}  // namespace workstation::program

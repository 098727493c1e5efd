#include "workstation/program/ItemStamps.h"

#include <bit>

#include "host/Headers.h"
#include "workstation/store/CacheRecord.h"

namespace workstation::program {

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;

template <typename Header>
VersionStamp stampOfHeader(const Header& header) {
  return VersionStamp{header.versionCounter, header.modifiedTime, header.contentCrc,
                      std::bit_cast<std::uint64_t>(header.guidFirst), std::bit_cast<std::uint64_t>(header.guidSecond)};
}

}  // namespace

VersionStamp stampOf(const TeilbildHeader& header) {
  return stampOfHeader(header);
}

VersionStamp stampOf(const PlanHeader& header) {
  return stampOfHeader(header);
}

VersionStamp stampOf(const ZeichnungHeader& header) {
  return stampOfHeader(header);
}

VersionStamp stampOf(const FileContent& here) {
  return VersionStamp{0, here.modified, static_cast<std::uint32_t>(here.size)};
}

VersionStamp stampOfStored(std::int64_t revision, std::int64_t size, std::int64_t modified) {
  return VersionStamp{static_cast<std::uint32_t>(revision), modified - modified % kTicksPerSecond,
                      static_cast<std::uint32_t>(size)};
}

std::optional<VersionStamp> stampOfImage(const ObjectName& object, const std::vector<std::uint8_t>& image) {
  const auto size = static_cast<std::uint32_t>(image.size());
  TeilbildHeader teilbild;
  PlanHeader plan;
  if (object.type == eFileType_Teilbild) {
    const bool isRead = datwaTBHeaderToLatest(image.data(), kStoredHeaderSize, size, teilbild);
    if (isRead && teilbild.number == object.number) return stampOf(teilbild);
  } else if (object.type == eFileType_Plan) {
    const bool isRead = datwaPlHeaderToLatest(image.data(), kStoredHeaderSize, size, false, plan);
    if (isRead && plan.number == object.number) return stampOf(plan);
  }
  return std::nullopt;
}

bool hasStoredHeader(const std::optional<ObjectName>& object) {
  return object && object->type != eFileType_Zeichnung;
}

}  // namespace workstation::program

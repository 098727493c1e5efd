#include "workstation/objects/ObjectRecord.h"

#include <bit>
#include <cstring>

namespace workstation {

// The records have no padding and their members' order is that of the image, so that the image is the struct itself.
static_assert(std::endian::native == std::endian::little, "the record images are little-endian");
static_assert(sizeof(ZeichnungHeader) == 576 && offsetof(ZeichnungHeader, contentName) == 320);
static_assert(offsetof(PlanHeader, opaque) + sizeof(PlanHeader::opaque) == sizeof(PlanHeader));
static_assert(offsetof(TeilbildHeader, name) == 72 && offsetof(TeilbildHeader, opaque) == 712);

namespace {

template <std::size_t Size>
void endText(char16_t (&member)[Size]) {
  member[Size - 1] = u'\0';
}

void endTexts(TeilbildHeader& header) {
  endText(header.name);
  endText(header.contentName);
  endText(header.userName);
}
void endTexts(PlanHeader& header) {
  endText(header.name);
  endText(header.contentName);
  endText(header.userName);
}
void endTexts(ZeichnungHeader& header) {
  endText(header.name);
  endText(header.contentName);
}

}  // namespace

ObjectRecord clearedRecord(QuorvelFileType type) {
  if (type == eFileType_Plan) return clearedHeader<PlanHeader>();
  if (type == eFileType_Zeichnung) return clearedHeader<ZeichnungHeader>();
  return clearedHeader<TeilbildHeader>();
}

QuorvelFileType typeOfRecord(const ObjectRecord& record) {
  if (std::holds_alternative<PlanHeader>(record)) return eFileType_Plan;
  if (std::holds_alternative<ZeichnungHeader>(record)) return eFileType_Zeichnung;
  return eFileType_Teilbild;
}

std::size_t recordSize(QuorvelFileType type) {
  return std::visit([](const auto& header) { return sizeof header; }, clearedRecord(type));
}

std::vector<std::uint8_t> encodeRecord(const ObjectRecord& record) {
  return std::visit(
      [](const auto& header) {
        std::vector<std::uint8_t> image(sizeof header);
        std::memcpy(image.data(), &header, sizeof header);
        return image;
      },
      record);
}

ObjectRecord decodeRecord(QuorvelFileType type, const std::uint8_t* image) {
  ObjectRecord record = clearedRecord(type);
  std::visit(
      [image](auto& header) {
        std::memcpy(static_cast<void*>(&header), image, sizeof header);
        endTexts(header);
      },
      record);
  return record;
}

std::uint32_t nextVersion(std::uint32_t version) {
  const std::uint32_t next = version + 1;
  return next == kUnknownVersion ? 0 : next;
}

std::uint32_t versionOf(const ObjectRecord& record) {
  return std::visit([](const auto& header) { return header.versionCounter; }, record);
}

int numberOf(const ObjectRecord& record) {
  return std::visit([](const auto& header) { return static_cast<int>(header.number); }, record);
}

std::wstring nameOf(const ObjectRecord& record) {
  return std::visit([](const auto& header) { return textOfMember(header.name); }, record);
}

}  // namespace workstation

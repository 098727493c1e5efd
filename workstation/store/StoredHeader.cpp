#include "workstation/store/StoredHeader.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>

#include "host/Headers.h"
#include "platform/Time.h"

namespace workstation {

namespace {

constexpr std::uint32_t kMark = 0x5244485A;  // "ZHDR"
constexpr std::uint16_t kVersion = 2;
constexpr std::uint16_t kOldVersion = 1;
constexpr std::uint32_t kOldSize = 176;
constexpr std::size_t kPrefix = 16;  // mark, version, kind, size, CRC
constexpr std::size_t kMarkAt = 0;
constexpr std::size_t kVersionAt = 4;
constexpr std::size_t kKindAt = 6;
constexpr std::size_t kSizeAt = 8;
constexpr std::size_t kCrcAt = 12;

enum class ImageKind : std::uint16_t { Teilbild = 1, Plan = 2 };

// Characters of the texts; an image has no terminator where a text fills its place.
constexpr std::size_t kNameLength = 64;
constexpr std::size_t kContentNameLength = 60;
constexpr std::size_t kUserNameLength = 34;
constexpr std::size_t kOldNameLength = 32;
constexpr std::size_t kOldUserNameLength = 24;

/// Members that both kinds of header have, as the image holds them.
struct Fields {
  std::int32_t number = 0;
  std::uint32_t versionCounter = kUnknownVersion;
  double guidFirst = 0;
  double guidSecond = 0;
  std::int64_t createdTime = 0;
  std::int64_t modifiedTime = 0;
  std::int64_t contentSize = 0;
  std::uint32_t contentCrc = 0;
  std::int32_t creator = 0;
  std::int32_t lastUser = 0;
  std::uint32_t flags = 0;
  double scale = 0;
  std::uint32_t compressedMark = 0;
  char16_t name[128] = {};
  char16_t contentName[128] = {};
  char16_t userName[64] = {};
};

/// Values of a known layout in and out of an image. The hosts that this runs on are little-endian, as the image is.
class Cursor {
 public:
  Cursor(std::uint8_t* image, std::size_t at) : image_(image), at_(at) {}
  template <typename Value>
  Cursor& put(const Value& value) {
    std::memcpy(image_ + at_, &value, sizeof value);
    at_ += sizeof value;
    return *this;
  }
  Cursor& putText(const char16_t* text, std::size_t capacity, std::size_t length) {
    std::size_t size = 0;
    while (size < capacity && text[size] != 0) ++size;
    // A character outside the basic plane is not cut in two.
    if (size > length) size = (text[length - 1] & 0xFC00) == 0xD800 ? length - 1 : length;
    std::memcpy(image_ + at_, text, size * sizeof(char16_t));
    at_ += length * sizeof(char16_t);
    return *this;
  }

 private:
  std::uint8_t* image_;
  std::size_t at_;
};

class ConstCursor {
 public:
  ConstCursor(const std::uint8_t* image, std::size_t at) : image_(image), at_(at) {}
  template <typename Value>
  Value get() {
    Value value{};
    std::memcpy(&value, image_ + at_, sizeof value);
    at_ += sizeof value;
    return value;
  }
  void getText(char16_t* text, std::size_t capacity, std::size_t length) {
    std::memcpy(text, image_ + at_, std::min(capacity - 1, length) * sizeof(char16_t));
    at_ += length * sizeof(char16_t);
    // Headers are compared whole: nothing may stand behind a text's end.
    std::fill(std::find(text, text + capacity, u'\0'), text + capacity, u'\0');
  }

 private:
  const std::uint8_t* image_;
  std::size_t at_;
};

std::uint32_t crcOf(const std::uint8_t* image, std::uint32_t size) {
  return static_cast<std::uint32_t>(::crc32(0, image + kPrefix, static_cast<uInt>(size - kPrefix)));
}

std::vector<std::uint8_t> imageOf(const Fields& fields, ImageKind kind) {
  std::vector<std::uint8_t> image(kStoredHeaderSize);
  Cursor body(image.data(), kPrefix);
  body.put(fields.number).put(fields.versionCounter).put(fields.guidFirst).put(fields.guidSecond);
  body.put(fields.createdTime).put(fields.modifiedTime).put(fields.contentSize).put(fields.contentCrc);
  body.put(fields.creator).put(fields.lastUser).put(fields.flags).put(fields.scale).put(fields.compressedMark);
  body.putText(fields.name, 128, kNameLength).putText(fields.contentName, 128, kContentNameLength);
  body.putText(fields.userName, 64, kUserNameLength);
  Cursor prefix(image.data(), kMarkAt);
  prefix.put(kMark).put(kVersion).put(static_cast<std::uint16_t>(kind)).put(kStoredHeaderSize);
  prefix.put(crcOf(image.data(), kStoredHeaderSize));
  return image;
}

void readCurrent(const std::uint8_t* image, Fields& fields) {
  ConstCursor body(image, kPrefix);
  fields.number = body.get<std::int32_t>();
  fields.versionCounter = body.get<std::uint32_t>();
  fields.guidFirst = body.get<double>();
  fields.guidSecond = body.get<double>();
  fields.createdTime = body.get<std::int64_t>();
  fields.modifiedTime = body.get<std::int64_t>();
  fields.contentSize = body.get<std::int64_t>();
  fields.contentCrc = body.get<std::uint32_t>();
  fields.creator = body.get<std::int32_t>();
  fields.lastUser = body.get<std::int32_t>();
  fields.flags = body.get<std::uint32_t>();
  fields.scale = body.get<double>();
  fields.compressedMark = body.get<std::uint32_t>();
  body.getText(fields.name, 128, kNameLength);
  body.getText(fields.contentName, 128, kContentNameLength);
  body.getText(fields.userName, 64, kUserNameLength);
}

std::int64_t ticksOfSeconds(std::uint32_t seconds) {
  return seconds == 0 ? 0 : static_cast<std::int64_t>(platform::toTicks(platform::fromUnixTime(seconds, 0)));
}

void readOld(const std::uint8_t* image, Fields& fields) {
  ConstCursor body(image, kPrefix);
  fields.number = body.get<std::int32_t>();
  fields.versionCounter = body.get<std::uint32_t>();
  fields.guidFirst = body.get<double>();
  fields.guidSecond = body.get<double>();
  fields.createdTime = ticksOfSeconds(body.get<std::uint32_t>());
  fields.modifiedTime = ticksOfSeconds(body.get<std::uint32_t>());
  fields.contentSize = body.get<std::uint32_t>();
  fields.creator = body.get<std::int32_t>();
  fields.lastUser = body.get<std::int32_t>();
  fields.flags = body.get<std::uint32_t>();
  body.getText(fields.name, 128, kOldNameLength);
  body.getText(fields.userName, 64, kOldUserNameLength);
}

bool fieldsOf(const std::uint8_t* image, std::uint32_t capacity, std::uint32_t byteCount, ImageKind kind,
              Fields& fields) {
  if (image == nullptr || byteCount < kPrefix || byteCount > capacity) return false;
  if (ConstCursor(image, kMarkAt).get<std::uint32_t>() != kMark) return false;
  if (ConstCursor(image, kKindAt).get<std::uint16_t>() != static_cast<std::uint16_t>(kind)) return false;
  const auto version = ConstCursor(image, kVersionAt).get<std::uint16_t>();
  if (version != kVersion && version != kOldVersion) return false;
  const std::uint32_t size = version == kVersion ? kStoredHeaderSize : kOldSize;
  if (ConstCursor(image, kSizeAt).get<std::uint32_t>() != size || byteCount < size) return false;
  if (ConstCursor(image, kCrcAt).get<std::uint32_t>() != crcOf(image, size)) return false;
  version == kVersion ? readCurrent(image, fields) : readOld(image, fields);
  return true;
}

/// Copies the members that header and fields name alike, in either direction.
template <typename From, typename To>
void copyShared(const From& from, To& to) {
  to.number = from.number;
  to.versionCounter = from.versionCounter;
  to.guidFirst = from.guidFirst;
  to.guidSecond = from.guidSecond;
  to.createdTime = from.createdTime;
  to.modifiedTime = from.modifiedTime;
  to.contentSize = from.contentSize;
  to.contentCrc = from.contentCrc;
  to.creator = from.creator;
  to.lastUser = from.lastUser;
  std::memcpy(to.name, from.name, sizeof to.name);
  std::memcpy(to.contentName, from.contentName, sizeof to.contentName);
  std::memcpy(to.userName, from.userName, sizeof to.userName);
}

}  // namespace

std::vector<std::uint8_t> storedImage(const TeilbildHeader& header) {
  Fields fields;
  copyShared(header, fields);
  fields.flags = header.flags;
  fields.scale = header.scale;
  fields.compressedMark = header.compressedMark;
  return imageOf(fields, ImageKind::Teilbild);
}

std::vector<std::uint8_t> storedImage(const PlanHeader& header) {
  Fields fields;
  copyShared(header, fields);
  fields.flags = header.flags;
  return imageOf(fields, ImageKind::Plan);
}

std::vector<std::uint8_t> storedImageOf(const void* header, std::uint32_t size) {
  if (header == nullptr) return {};
  // Copied out: nothing is promised about the alignment of the caller's block.
  if (size == sizeof(TeilbildHeader)) {
    TeilbildHeader record;
    std::memcpy(&record, header, sizeof record);
    return storedImage(record);
  }
  if (size == sizeof(PlanHeader)) {
    PlanHeader record;
    std::memcpy(&record, header, sizeof record);
    return storedImage(record);
  }
  return {};
}

}  // namespace workstation

bool datwaTBHeaderToLatest(const std::uint8_t* image, std::uint32_t size, std::uint32_t byteCount,
                           TeilbildHeader& out) {
  workstation::Fields fields;
  if (!workstation::fieldsOf(image, size, byteCount, workstation::ImageKind::Teilbild, fields)) return false;
  auto header = clearedHeader<TeilbildHeader>();
  workstation::copyShared(fields, header);
  header.flags = fields.flags;
  header.scale = fields.scale;
  header.compressedMark = static_cast<std::uint8_t>(fields.compressedMark & 0xFFU);
  out = header;
  return true;
}

// `flag` asks for no more than there is: the host's own member of a Plan is never on the server.
bool datwaPlHeaderToLatest(const std::uint8_t* image, std::uint32_t size, std::uint32_t byteCount, bool /*flag*/,
                           PlanHeader& out) {
  workstation::Fields fields;
  if (!workstation::fieldsOf(image, size, byteCount, workstation::ImageKind::Plan, fields)) return false;
  auto header = clearedHeader<PlanHeader>();
  workstation::copyShared(fields, header);
  header.flags = static_cast<std::uint16_t>(fields.flags & 0xFFFFU);
  out = header;
  return true;
}

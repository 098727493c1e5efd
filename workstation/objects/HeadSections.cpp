// The two leading sections of an uncompressed object file, answered from a buffer and never outside it.
#include <algorithm>
#include <string>

#include "host/ObjectFiles.h"
#include "host/System.h"
#include "workstation/objects/ByteCodec.h"
#include "workstation/objects/ObjectLayout.h"

namespace {

/// The layout of a buffer that holds the head and the whole tables section; an empty one otherwise.
workstation::ObjectLayout layoutOf(const std::uint8_t* buffer, std::size_t size) {
  workstation::ObjectLayout layout;
  std::wstring problem;
  if (buffer == nullptr || !workstation::decodeHead(buffer, size, layout, problem)) return {};
  if (layout.tablesPosition() > size || layout.tablesSize > size - layout.tablesPosition()) return {};
  return layout;
}

}  // namespace

bool HEAD_t_IsValidHead(const std::uint8_t* buffer, std::size_t size) {
  workstation::ObjectLayout layout;
  std::wstring problem;
  if (buffer != nullptr && workstation::decodeHead(buffer, size, layout, problem)) return true;
  SetLastError(ERROR_INVALID_DATA);
  return false;
}

std::size_t HEAD_t_GetSizeOfSectionFileHead() {
  return workstation::kHeadSize;
}

std::size_t HEAD_t_GetPosOfSectionFileTables(const std::uint8_t* buffer, std::size_t size) {
  const workstation::ObjectLayout layout = layoutOf(buffer, size);
  return layout.tablesSize == 0 ? 0 : static_cast<std::size_t>(layout.tablesPosition());
}

std::size_t HEAD_t_GetSizeOfSectionFileTables(const std::uint8_t* buffer, std::size_t size) {
  return layoutOf(buffer, size).tablesSize;
}

void cgpver(std::uint8_t out[8]) {
  std::fill_n(out, 8, std::uint8_t{0});
  workstation::putLittleEndian(out, 0, static_cast<std::uint16_t>(get_InternMainRelease()));
  workstation::putLittleEndian(out, 2, static_cast<std::uint16_t>(get_InternSubRelease()));
}

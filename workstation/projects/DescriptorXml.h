// The elements of "Project1.Dat.xml" and a descriptor's values.
#pragma once

#include <pugixml.hpp>
#include <string>

#include "host/NetManager.h"
#include "platform/WindowsTypes.h"

struct NetManager::projectInfo::Document {
  pugi::xml_document xml;
};

namespace workstation {

/// What is wrong in a well-formed descriptor, and at which byte.
struct DescriptorFault {
  std::ptrdiff_t offset = -1;
  std::wstring expected;

  explicit operator bool() const { return !expected.empty(); }
};
/// Checks every element that this host knows. @return no fault, or the first one
DescriptorFault findDescriptorFault(const pugi::xml_document& document);

/// Reads a descriptor file into `out`, with the directory's name for a project that is not in the cloud.
/// @return 0; ERROR_FILE_NOT_FOUND when there is none; ERROR_INVALID_DATA for one that can't be read or is damaged
DWORD readDescriptor(const std::wstring& directory, PRJ& out, std::wstring& error);

}  // namespace workstation

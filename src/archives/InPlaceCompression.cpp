#include "platform/WindowsTypes.h"
#include "zephor/Archives.h"

namespace Quorvel::FileAccess {

unsigned long WGO_zipProjectFile(const std::wstring& path) {
  return WGO_zipProjectFileEx(path, nullptr);
}
unsigned long WGO_zipProjectFileEx(const std::wstring& /*path*/, WIN32_FIND_DATAW* /*info*/) {
  return ERROR_NOT_SUPPORTED;
}
unsigned long WGO_unzipProjectFile(const std::wstring& /*path*/) {
  return ERROR_NOT_SUPPORTED;
}
unsigned long WGO_unzipProjectFile(const int& /*pathNumber*/, const int& /*fileType*/, const int& /*number*/) {
  return ERROR_NOT_SUPPORTED;
}
bool WGO_isProjectCompressed() {
  return false;
}
unsigned long WGO_addFileToProjectZipFile(const std::wstring& /*zipPath*/, const std::wstring& /*filePath*/) {
  return ERROR_NOT_SUPPORTED;
}
ScopedDisableUnzipping::ScopedDisableUnzipping(QuorvelFileType type, unsigned int number)
    : type_(type), number_(number) {}
ScopedDisableUnzipping::~ScopedDisableUnzipping() = default;

}  // namespace Quorvel::FileAccess

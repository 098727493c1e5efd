// Headers of object files for the library: read from the file, whatever state it is in.
#include "host/Headers.h"

#include "host/Files.h"
#include "host/ObjectFiles.h"
#include "host/Trace.h"
#include "platform/Paths.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/objects/ObjectNames.h"

namespace {

/// Newer across the wrap: numerically smaller, and less than half the range ahead.
int isWrapped(std::uint32_t a, std::uint32_t b) {
  if (a == kUnknownVersion || b == kUnknownVersion || a >= b) return 0;
  constexpr std::uint32_t kHalfRange = 0x80000000U;
  return a - b < kHalfRange ? 1 : 0;
}

template <typename Header>
int readHeaderOf(QuorvelFileType type, int pathNumber, unsigned number, Header& out) {
  const std::wstring name = workstation::objectFileName(type, static_cast<int>(number));
  if (name.empty()) return static_cast<int>(ERROR_INVALID_PARAMETER);
  const std::wstring directory = lfinigC(pathNumber);
  if (directory.empty()) return static_cast<int>(ERROR_PATH_NOT_FOUND);
  workstation::ObjectFileInfo info;
  std::wstring error;
  const DWORD code = workstation::readObjectHeader(platform::joinPath(directory, name), info, error);
  if (code != ERROR_SUCCESS) {
    // A missing file is an answer that callers ask for; anything else is worth a line.
    if (code != ERROR_FILE_NOT_FOUND) lfperrC(L"%s\n", error);
    return static_cast<int>(code);
  }
  out = std::get<Header>(info.record);
  return 0;
}

}  // namespace

int ZP_Header_TBFileBase::IsVersionCounterWrap(std::uint32_t a, std::uint32_t b) {
  return isWrapped(a, b);
}

int ZP_Header_PLFileBase::IsVersionCounterWrap(std::uint32_t a, std::uint32_t b) {
  return isWrapped(a, b);
}

void ZP_Header_TBFileBase::InitDefaults(TeilbildHeader& record, int number, const wchar_t* name, const wchar_t* user,
                                        int /*kind*/, int flags) {
  record = clearedHeader<TeilbildHeader>();
  record.number = number;
  record.flags = static_cast<std::uint32_t>(flags);
  if (name != nullptr) workstation::setMember(record.name, name);
  if (user != nullptr) workstation::setMember(record.userName, user);
}

// An object file is the only source of these operations; `fromFile` is what callers say to be sure of it.
int ZP_Header_Teilbild::CheckOpenAndReadInfo(int pathNumber, unsigned number, TeilbildHeader& out, bool /*fromFile*/) {
  return readHeaderOf(eFileType_Teilbild, pathNumber, number, out);
}

int ZP_Header_Teilbild::CheckOpenAndReadInfo(int pathNumber, unsigned number, bool fromFile) {
  return CheckOpenAndReadInfo(pathNumber, number, info_, fromFile);
}

int ZP_Header_Plan::CheckOpenAndReadInfo(int pathNumber, unsigned number, PlanHeader& out, bool /*fromFile*/) {
  return readHeaderOf(eFileType_Plan, pathNumber, number, out);
}

int ZP_Header_Plan::CheckOpenAndReadInfo(int pathNumber, unsigned number, bool fromFile) {
  return CheckOpenAndReadInfo(pathNumber, number, info_, fromFile);
}

int ZP_Header_Zeichnung::CheckOpenAndReadInfo(int pathNumber, unsigned number, ZeichnungHeader& out) {
  return readHeaderOf(eFileType_Zeichnung, pathNumber, number, out);
}

int ZP_Header_Zeichnung::CheckOpenAndReadInfo(int pathNumber, unsigned number) {
  return CheckOpenAndReadInfo(pathNumber, number, info_);
}

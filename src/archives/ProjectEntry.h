// Where an archive keeps what it tells of its project.
#pragma once

#include <string>

#include "toolkit/ZipW.h"

namespace Quorvel::FileAccess {

constexpr const wchar_t* kProjectInformation = L"Project1.Dat.xml";

/// Name of the entry that tells a shared project's archive.
std::wstring shareProjectEntry();
/// Name of the entry with the project information of an open archive.
std::wstring projectInformationEntry(CkZipW& zip);

}  // namespace Quorvel::FileAccess

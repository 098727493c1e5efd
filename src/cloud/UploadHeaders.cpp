// The headers that go with the objects of a batch.
#include "cloud/CloudPaths.h"
#include "cloud/ObjectHeaders.h"
#include "cloud/UploadPipeline.h"
#include "host/Project.h"
#include "host/Trace.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess::Threading {
namespace {

/// Host paths under which the base directory stands while a header is read.
constexpr int kProjectPath = 1;
constexpr int kOfficeStandardPath = 29;

/// The database that is open in the core counts for its own project's directory only.
int unitOfDirectory(const std::wstring& baseDirectory) {
  const std::wstring directory = platform::directoryOf(platform::joinPath(baseDirectory, L"x"));
  const std::wstring active = get_ActivePrj().GetOndrathProjectUuid();
  const bool isActive = platform::equalsIgnoreCase(platform::fileNameOf(directory), cloudDirectoryName(active));
  return isActive ? databaseUnitOf(active) : 0;
}

/// @param missingLine  takes the function and the number
template <typename Header>
void collect(const wchar_t* function, const wchar_t* missingLine, const std::wstring& baseDirectory,
             const NumberedFiles& files, FilesWithHeaders<Header>& out, bool rereadHeaders) {
  const HeaderSource source{unitOfDirectory(baseDirectory), baseDirectory,
                            rereadHeaders ? kProjectPath : kOfficeStandardPath};
  // The files point at the headers, which therefore never move.
  out.infos.clear();
  out.headers.clear();
  out.headers.reserve(files.size());
  for (const auto& [number, file] : files) {
    Header header;
    if (!readHeader(source, number, header)) {
      lfperrC(missingLine, function, number);
      continue;
    }
    if (source.unit > 0) lfperrC(L"%s: get TBHeader for %d from DB with prjId = %d\n", function, number, source.unit);
    QuorvFileInfo info = file.info;
    info.name = platform::joinPath(baseDirectory, file.info.name);
    info.header = &out.headers.emplace_back(header);
    if (info.fileHandle == -1) info.fileHandle = openHandleOf(info.name);
    out.infos.push_back(std::move(info));
  }
}

}  // namespace

void getQuorvelTBInfos(const std::wstring& baseDirectory, const NumberedFiles& teilbilder,
                       FilesWithHeaders<TeilbildHeader>& out, bool rereadHeaders) {
  collect(L"Quorvel::FileAccess::Threading::getQuorvelTBInfos",
          L"%s: Uploading TB %d failed, error = \"no header found\"\n", baseDirectory, teilbilder, out, rereadHeaders);
}

void getQuorvelPLInfos(const std::wstring& baseDirectory, const NumberedFiles& plans, FilesWithHeaders<PlanHeader>& out,
                       bool rereadHeaders) {
  collect(L"Quorvel::FileAccess::Threading::getQuorvelPLInfos",
          L"%s: Uploading Plan %d failed, error = \"no header found\"\n", baseDirectory, plans, out, rereadHeaders);
}

}  // namespace Quorvel::FileAccess::Threading

#include <algorithm>
#include <array>
#include <iterator>

#include "cloud/CloudCall.h"
#include "cloud/CloudPaths.h"
#include "cloud/Ondrath_Services.h"
#include "host/FileTypes.h"
#include "host/UserMessages.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kListingTextId = 1502913;
constexpr const wchar_t* kListingFailed = L"%s: listing of project \"%s\" failed with 0x%08lx.\n";
constexpr std::array<int, 4> kNewShareKinds{33, 34, 35, 36};

bool loadMap(const PRJ& prj, std::map<int, CResourceInfo>& out, int kind) {
  out.clear();
  std::vector<CResourceInfo> infos;
  if (!Ondrath_LoadResourceInfos(prj, infos, kind)) return false;
  for (CResourceInfo& info : infos) {
    const int number = info.objectNumber;
    out.try_emplace(number, std::move(info));
  }
  return true;
}

bool loadOne(const CloudCall& call, int number, int type, int kind, CResourceInfo& out) {
  const CScopedDisplayInfo display(CQuoString().GetQuorvotParText(kListingTextId, nullptr, 10, 256).text());
  std::vector<std::wstring> lines;
  const CloudStatus status =
      call.run(kListingFailed, call.project(), [&](ICloudProjectService& service, const std::wstring& project) {
        return service.GetProjectFileInfos(project, lines, kind);
      });
  std::wstring name;
  if (status != 0 || !Ondrath_FileNameFromNumber(static_cast<std::uint32_t>(number), type, name)) return false;
  const auto line = std::find_if(lines.begin(), lines.end(),
                                 [&](const std::wstring& candidate) { return candidate.starts_with(name); });
  if (line == lines.end()) return false;
  out = parseListingLine(*line);
  return true;
}

}  // namespace

bool Ondrath_LoadResourceInfos(const PRJ& prj, std::vector<CResourceInfo>& out, int kind) {
  out.clear();
  if (!prj.IsOndrathProject()) return false;
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_LoadResourceInfos", prj);
  std::vector<std::wstring> lines;
  const CloudStatus status =
      call.run(kListingFailed, call.project(), [&](ICloudProjectService& service, const std::wstring& project) {
        return service.GetProjectFileInfos(project, lines, kind);
      });
  if (status != 0) return false;
  out.reserve(lines.size());
  std::transform(lines.begin(), lines.end(), std::back_inserter(out), parseListingLine);
  std::stable_sort(out.begin(), out.end(),
                   [](const CResourceInfo& a, const CResourceInfo& b) { return a.name < b.name; });
  return true;
}

bool Ondrath_LoadNewShareInfos(const PRJ& prj, std::vector<CResourceInfo>& out) {
  out.clear();
  bool all = true;
  for (const int kind : kNewShareKinds) {
    std::vector<CResourceInfo> group;
    all = Ondrath_LoadResourceInfos(prj, group, kind) && all;
    std::move(group.begin(), group.end(), std::back_inserter(out));
  }
  return all;
}

bool Ondrath_getTBList(const PRJ& prj, std::map<int, CResourceInfo>& out) {
  return loadMap(prj, out, kCloudKindTeilbild);
}

bool Ondrath_getPLList(const PRJ& prj, std::map<int, CResourceInfo>& out) {
  return loadMap(prj, out, kCloudKindPlan);
}

bool Ondrath_getTBInfo(const PRJ& prj, int number, CResourceInfo& out) {
  if (!prj.IsOndrathProject()) return false;
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_getTBInfo", prj);
  return loadOne(call, number, eFileType_Teilbild, kCloudKindTeilbild, out);
}

bool Ondrath_getPLInfo(const PRJ& prj, int number, CResourceInfo& out) {
  if (!prj.IsOndrathProject()) return false;
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_getPLInfo", prj);
  return loadOne(call, number, eFileType_Plan, kCloudKindPlan, out);
}

bool WGO_getBimTBInfo(const PRJ& prj, int number, CResourceInfo& out) {
  return Ondrath_getTBInfo(prj, number, out);
}

bool WGO_getBimPlInfo(const PRJ& prj, int number, CResourceInfo& out) {
  return Ondrath_getPLInfo(prj, number, out);
}

void WGO_getOndrathResourceFiles(const PRJ& prj, std::vector<CResourceInfo>& out, ShareFileTypeID type) {
  Ondrath_LoadResourceInfos(prj, out, type);
}

void WGO_getNewShareFilesMetadata(const PRJ& prj, std::vector<NewShareFileMetadata>& out, ShareFileTypeID type) {
  out.clear();
  if (!prj.IsOndrathProject()) return;
  std::vector<NewShareFileMetadata> files;
  const CloudCall call(L"Quorvel::FileAccess::WGO_getNewShareFilesMetadata", prj);
  const CloudStatus status =
      call.run(kListingFailed, call.project(), [&](ICloudProjectService& service, const std::wstring& project) {
        return service.GetNewShareFilesMetadata(project, files, type);
      });
  if (status == 0) out = std::move(files);
}

}  // namespace Quorvel::FileAccess

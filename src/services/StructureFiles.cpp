#include "services/StructureFiles.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "core/ObjectNames.h"
#include "host/Project.h"
#include "platform/Text.h"
#include "zephor/ProjectListing.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::size_t kLineBuffer = 1024;
constexpr int kHighestLayout = 9998;

/// What a structure file names, and how a line of it begins to.
struct StructureFile {
  std::wstring_view name;
  std::wstring_view tag;
  ObjectType type;
};

constexpr StructureFile kStructureFiles[] = {{kBuildingStructure, L"<File ID=\"", eObject_Teilbild},
                                             {kBuildingViews, L"<File ID=\"", eObject_Teilbild},
                                             {kLayoutStructure, L"<Layout ID=\"", eObject_Plan}};
constexpr const StructureFile& kLayouts = kStructureFiles[2];

const StructureFile* findStructureFile(const std::wstring& name) {
  const auto* const found = std::find_if(std::begin(kStructureFiles), std::end(kStructureFiles),
                                         [&](const StructureFile& file) { return file.name == name; });
  return found != std::end(kStructureFiles) ? found : nullptr;
}

/// Adds the numbers of a file, of each line the first. It is read as text: a line that is longer than the buffer counts
/// as several.
/// @return false when it does not open
bool scan(const StructureFile& structure, const std::wstring& projectDirectory, std::vector<int>& numbers) {
  if (projectDirectory.empty()) return false;
  platform::TextFile file(platform::formatWide(L"%s\\BIM\\%s", projectDirectory, structure.name), L"r");
  if (!file.isOpen()) return false;
  for (std::wstring line; file.readLine(line, kLineBuffer);) {
    const std::size_t tag = line.find(structure.tag);
    if (tag != std::wstring::npos) numbers.push_back(_wtoi(line.c_str() + tag + structure.tag.size()));
  }
  return true;
}

}  // namespace

bool getAssignedFilesFromStructureXML(const PRJ& prj, std::vector<int>& numbers, const std::wstring& structureFile) {
  const StructureFile* const structure = findStructureFile(structureFile);
  if (structure == nullptr || !scan(*structure, prj.GetFullProjectPath(true), numbers)) return false;
  std::sort(numbers.begin(), numbers.end());
  return true;
}

bool getAssignedFilesFromStructureXML(const PRJ& prj, std::vector<std::wstring>& names,
                                      const std::wstring& structureFile) {
  std::vector<int> numbers;
  if (!getAssignedFilesFromStructureXML(prj, numbers, structureFile)) return false;
  const ObjectType type = findStructureFile(structureFile)->type;
  for (const int number : numbers) names.push_back(objectFileName(type, number));
  return true;
}

void WGO_getListOfLayoutsFromLayoutStructure(std::vector<int>& numbers) {
  std::vector<int> found;
  scan(kLayouts, get_ActPrjPath(), found);
  std::copy_if(found.begin(), found.end(), std::back_inserter(numbers),
               [](int number) { return number >= 1 && number <= kHighestLayout; });
  std::sort(numbers.begin(), numbers.end());
}

void WGO_getListOfLayoutFilesFromLayoutStructure(std::set<std::wstring>& files) {
  std::vector<int> numbers;
  WGO_getListOfLayoutsFromLayoutStructure(numbers);
  const std::wstring directory = get_ActPrjPath();
  for (const int number : numbers) {
    files.insert(platform::formatWide(L"%s\\%s", directory, objectFileName(eObject_Plan, number)));
  }
}

}  // namespace Quorvel::FileAccess

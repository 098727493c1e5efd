#include "workstation/program/Drawings.h"

#include <algorithm>
#include <set>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/Saving.h"
#include "workstation/projects/ProjectNames.h"

namespace workstation::program {

namespace {

bool isFileHere(const std::string& argument) {
  return platform::fileStatus(platform::libraryPath(absolutePath(argument))).exists;
}

std::wstring placeOf(const std::string& file) {
  return platform::weaklyCanonical(platform::libraryPath(absolutePath(file)));
}

}  // namespace

DrawingArguments drawingArguments(const std::vector<std::string>& arguments) {
  DrawingArguments sorted;
  std::set<std::wstring> places;
  for (const std::string& argument : arguments) {
    const std::wstring text = wide(argument);
    if (text.empty()) throw CommandFailure{ExitCode::Usage, L"an empty argument names no drawing"};
    const auto object = parseObjectName(text);
    const bool isPath = text.find_first_of(L"/\\") != std::wstring::npos;
    const bool isShortName = object && text.find(L'.') == std::wstring::npos;
    if (isPath || (!isShortName && isFileHere(argument))) {
      if (places.insert(placeOf(argument)).second) sorted.files.push_back(argument);
    } else if (!object) {
      throw CommandFailure{ExitCode::Usage,
                           text + L" names neither an object (tb12, pb3, ze7) nor a file that is here"};
    } else if (std::find(sorted.objects.begin(), sorted.objects.end(), *object) == sorted.objects.end()) {
      sorted.objects.push_back(*object);
    }
  }
  return sorted;
}

std::vector<std::string> takeProjectFiles(std::vector<std::string>& files) {
  const auto isOutside = [](const std::string& file) {
    const std::wstring descriptor =
        platform::joinPath(platform::directoryOf(placeOf(file)), workstation::kDescriptorFile);
    return !platform::fileStatus(descriptor).exists;
  };
  const auto inside = std::stable_partition(files.begin(), files.end(), isOutside);
  std::vector<std::string> taken(inside, files.end());
  files.erase(inside, files.end());
  return taken;
}

std::optional<ObjectName> objectOfFile(const std::string& file) {
  const std::wstring place = placeInProject(platform::libraryPath(absolutePath(file)));
  const bool isHere = !place.empty() && place.find(L'\\') == std::wstring::npos;
  const auto object = isHere ? parseObjectName(place) : std::nullopt;
  // A file that is called like an object in another way, tb1.zdw, is not the object's.
  return object && platform::equalsIgnoreCase(object->fileName(), place) ? object : std::nullopt;
}

Drawing drawingOf(const std::string& file) {
  return Drawing{wide(file), fileArgument(file), std::nullopt};
}

Drawing drawingOf(const ObjectName& object) {
  return Drawing{object.shortName(), objectPath(object), object};
}

std::wstring missingObject(const Drawing& drawing) {
  const bool isMissing = drawing.object && !platform::fileStatus(drawing.path).exists;
  return isMissing ? L"there is no such object here" : L"";
}

void reportFailure(const Context& context, const std::wstring& label, const std::wstring& problem) {
  report(context, label, L"failed", problem);
}

}  // namespace workstation::program

#include "workstation/program/Drawings.h"

#include <algorithm>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "workstation/program/Saving.h"

namespace workstation::program {

namespace {

bool isFileHere(const std::string& argument) {
  return platform::fileStatus(platform::libraryPath(absolutePath(argument))).exists;
}

}  // namespace

DrawingArguments drawingArguments(const std::vector<std::string>& arguments) {
  DrawingArguments sorted;
  for (const std::string& argument : arguments) {
    const std::wstring text = wide(argument);
    const auto object = parseObjectName(text);
    const bool isPath = text.find_first_of(L"/\\") != std::wstring::npos;
    const bool isShortName = object && text.find(L'.') == std::wstring::npos;
    if (isPath || (!isShortName && isFileHere(argument))) {
      sorted.files.push_back(argument);
    } else if (!object) {
      throw CommandFailure{ExitCode::Usage,
                           text + L" names neither an object (tb12, pb3, ze7) nor a file that is here"};
    } else if (std::find(sorted.objects.begin(), sorted.objects.end(), *object) == sorted.objects.end()) {
      sorted.objects.push_back(*object);
    }
  }
  return sorted;
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

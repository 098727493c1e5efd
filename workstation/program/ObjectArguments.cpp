// The items that a command's arguments name.
#include <algorithm>

#include "host/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"

namespace workstation::program {

namespace {

/// "tb10000": written like an object, but there can be none of that number.
bool looksLikeObject(const std::wstring& text) {
  const std::wstring digits = text.size() > 2 && parseObjectType(text.substr(0, 2)) ? text.substr(2) : text;
  return !digits.empty() && digits.find_first_not_of(L"0123456789") == std::wstring::npos;
}

}  // namespace

std::vector<ObjectName> objectArguments(const std::vector<std::string>& arguments) {
  std::vector<ObjectName> objects;
  for (const auto& argument : arguments) {
    const auto object = parseObjectName(wide(argument));
    if (!object) {
      throw CommandFailure{ExitCode::Usage,
                           wide(argument) + L" names no object (expected tb12, 12, pb3, ze7 or a file name)"};
    }
    if (std::find(objects.begin(), objects.end(), *object) == objects.end()) objects.push_back(*object);
  }
  return objects;
}

std::vector<ItemName> itemArguments(const std::vector<std::string>& arguments) {
  std::vector<ItemName> items;
  for (const auto& argument : arguments) {
    const std::wstring text = wide(argument);
    ItemName item;
    if (const auto object = parseObjectName(text)) {
      item = {object, object->fileName()};
    } else {
      item.fileName = text;
      std::replace(item.fileName.begin(), item.fileName.end(), L'/', L'\\');
      QuorvelFileType type = eFileType_Unknown;
      int number = 0;
      const bool isObject =
          looksLikeObject(text) || (GetTypeFromFilePathName(item.fileName, type, number) && isObjectType(type));
      if (isObject || !platform::isSafeRelativeName(item.fileName)) {
        throw CommandFailure{
            ExitCode::Usage,
            text + L" names neither an object (tb12, pb3, ze7) nor a file below the project's directory"};
      }
      if (isPrivateFile(item.fileName)) {
        throw CommandFailure{ExitCode::Usage, text + L" is not shared by name: " + whyPrivate(item.fileName)};
      }
    }
    const bool known = std::any_of(items.begin(), items.end(), [&](const auto& other) {
      return platform::equalsIgnoreCase(other.fileName, item.fileName);
    });
    if (!known) items.push_back(std::move(item));
  }
  return items;
}

}  // namespace workstation::program

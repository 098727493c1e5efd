// Drawings that arguments name: objects of the open project, or object files wherever they lie.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "workstation/program/ObjectName.h"

namespace workstation::program {

class Context;

struct Drawing {
  std::wstring label;  ///< "tb12", or the path as the user gave it
  std::wstring path;   ///< library path
  std::optional<ObjectName> object;
};

/// Arguments sorted by what they name, each object once, and each file that is here once by whatever path.
struct DrawingArguments {
  std::vector<std::string> files;
  std::vector<ObjectName> objects;
};

/// What has a separator in it is a file, and so is a whole file name (tb000012.zdw) that is here in the current
/// directory; everything else has to name an object. Throws CommandFailure (usage).
DrawingArguments drawingArguments(const std::vector<std::string>& arguments);

/// Files that lie in a project's directory, which may be the open one's, taken out of a list.
std::vector<std::string> takeProjectFiles(std::vector<std::string>& files);
/// The object of the open project that a file is; nothing for a file that lies elsewhere.
std::optional<ObjectName> objectOfFile(const std::string& file);

/// A file that exists. Throws CommandFailure.
Drawing drawingOf(const std::string& file);
/// An object of the open project; whether it has a file is not looked at.
Drawing drawingOf(const ObjectName& object);

/// What is wrong with an object that has no file here; empty for one that has, and for a file.
std::wstring missingObject(const Drawing& drawing);

/// "tb12: failed (...)", as a result, which a quiet run and JSON have too.
void reportFailure(const Context& context, const std::wstring& label, const std::wstring& problem);

}  // namespace workstation::program

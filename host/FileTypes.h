// Kinds of project files and how a name tells them.
#pragma once

#include <string>

#include "host/Export.h"

/// The host's file types. The single-object services accept the first three only.
enum QuorvelFileType : int {
  eFileType_Teilbild = 0,
  eFileType_ResourceA = 3,
  eFileType_ResourceB = 4,
  eFileType_Zeichnung = 28,
  eFileType_Plan = 33,
  eFileType_QuorvelBim = 75,
  eFileType_QuorvelLayout = 76,
  eFileType_Unknown = -1,
};

/// Type and number of a project file by its name: `tb%06d.zdw` (1 to 9999), `ze%06d.000` and `pb%06d.zpl` (1 to
/// 999999), letter case ignored. Resource files (`*.zra`, `*.zrb`), "QuorvelBim.xml" and "QuorvelLayout.xml" have the
/// number 0. The directory of the path is not looked at and the file need not exist.
/// @return false for every other name; the outputs are then eFileType_Unknown and -1
HOST_API bool GetTypeFromFilePathName(const std::wstring& path, QuorvelFileType& type, int& number);

/// Regular expression (Perl syntax, lower case) that matches the names of a type, or null.
HOST_API const wchar_t* GetBoostRegExFilterExpression(QuorvelFileType type);

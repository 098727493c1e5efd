// GUIDs: making, comparing, printing, and the two doubles in which object headers keep one.
#pragma once

#include <string>

#include "host/Export.h"
#include "platform/WindowsTypes.h"

namespace Quorvel::Cad::Service {

struct HOST_API ZP_GUIDValueProvider {
  static bool IsEqualGUID(const GUID& a, const GUID& b);
  /// Reads "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx", with or without braces, in any letter case.
  static bool scanGUID(const std::wstring& text, GUID& out);
  /// 36 characters, lower case, no braces.
  static std::wstring printGUID(const GUID& guid);
};

}  // namespace Quorvel::Cad::Service

/// A fresh random GUID (RFC 9562, version 4).
HOST_API GUID GetGUID();

/// The 128 bits of a GUID as the bit patterns of two doubles, and back. Bits are copied, never converted as numbers.
HOST_API GUID GetGUIDFromTwoDoubles(double first, double second);
HOST_API void GetTwoDoublesFromGUID(const GUID& guid, double& first, double& second);

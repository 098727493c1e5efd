#include "cloud/Ondrath_Services.h"
#include "host/System.h"
#include "host/UserMessages.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

/// Ends each parameter of a language text.
constexpr wchar_t kParameterEnd = 30;

std::wstring resourceText(int id, const std::wstring& parameters, int count) {
  return CQuoString().GetQuorvotParText(id, count > 0 ? parameters.c_str() : nullptr, count, 256).text();
}

std::wstring parameter(const std::wstring& value) {
  return value + kParameterEnd;
}
std::wstring parameter(int value) {
  return parameter(std::to_wstring(value));
}

/// Reads like a network path to the user.
std::wstring withLocation(const std::wstring& text, const std::wstring& name) {
  return platform::formatWide(L"%s \"\\\\%s\\%s\"", text, kOndrathHost, name);
}

std::wstring progressWithSize(int count, int secondCount, std::int64_t bytes) {
  const std::wstring parameters = platform::formatWide(L"%d%c%d%c", count, kParameterEnd, secondCount, kParameterEnd);
  return platform::formatWide(L"%s  (%.02lf) MB", resourceText(1500512, parameters, 2),
                              static_cast<double>(bytes) / 1048576);
}

}  // namespace

std::wstring& getlocalizedMessageTextForOndrath(std::wstring& out, const std::wstring& name, int kind, int count,
                                                int secondCount, std::int64_t bytes) {
  const bool one = count < 2;
  switch (kind) {
    case 0:
      return out = resourceText(1500513, parameter(name), 1);
    case 1:
      return out = resourceText(1500514, parameter(name), 1);
    case 2:
      return out = withLocation(resourceText(1500506, {}, 0), name);
    case 3:
      return out = withLocation(resourceText(one ? 1500507 : 1500508, parameter(count), 1), name);
    case 4:
      return out = withLocation(resourceText(1500509, {}, 0), name);
    case 5:
      return out = withLocation(resourceText(one ? 1500510 : 1500511, {}, 0), name);
    case 6:
      return out = progressWithSize(count, secondCount, bytes);
    case 7:
      return out = resourceText(1500517, parameter(count), 1);
    default:
      out.clear();
      return out;
  }
}

}  // namespace Quorvel::FileAccess

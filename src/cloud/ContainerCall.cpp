#include "cloud/ContainerCall.h"

#include "host/Guid.h"
#include "host/UserMessages.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

constexpr wchar_t kParameterEnd = 30;
constexpr wchar_t kParametersEnd = 31;

}  // namespace

std::wstring localStandardResources() {
  return Cad::Service::ZP_GUIDValueProvider::printGUID(GUID{});
}

bool isNoContainer(const std::wstring& uuid) {
  return uuid.empty() || uuid == localStandardResources();
}

std::wstring messageParameters(CloudStatus status) {
  return platform::formatWide(L" %#x%c%c", statusCode(status), kParameterEnd, kParametersEnd);
}

std::wstring messageParameters(CloudStatus status, const std::wstring& subject) {
  return platform::formatWide(L" %#x%c%s%c%c", statusCode(status), kParameterEnd, subject, kParameterEnd,
                              kParametersEnd);
}

std::wstring copyParameters(CloudStatus status, const std::wstring& from, const std::wstring& to) {
  return platform::formatWide(L" %d%c%s%c%s%c%c", status, kParameterEnd, from, kParameterEnd, to, kParameterEnd,
                              kParametersEnd);
}

void tellUser(ContainerMessage message, const std::wstring& parameters) {
  sendGuiMessage(static_cast<int>(message), parameters);
}

}  // namespace Quorvel::FileAccess

#include "cloud/TransferQuestion.h"

#include "cloud/CloudCall.h"
#include "cloud/Ondrath_Services.h"
#include "host/UserMessages.h"
#include "platform/Messages.h"
#include "platform/UserInterface.h"

namespace Quorvel::FileAccess {
namespace {

constexpr UINT kQuestionStyle = MB_YESNO | MB_ICONQUESTION | MB_SETFOREGROUND;
constexpr int kTransferFailedId = 1502674;

std::wstring systemText(CloudStatus status) {
  wchar_t* buffer = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
      statusCode(status), 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);  // NOLINT: the call's own convention
  std::wstring text = length > 0 && buffer != nullptr ? std::wstring(buffer, length) : std::wstring(L"Unknown error.");
  LocalFree(buffer);
  if (text.ends_with(L'\n')) text.pop_back();
  if (text.ends_with(L'\r')) text.pop_back();
  return text;
}

}  // namespace

std::wstring transferText(int id, int count) {
  return CQuoString().GetQuorvotParText(id, nullptr, count, 256).text();
}

std::wstring transferFailedText() {
  return transferText(kTransferFailedId, 1);
}

bool userWantsRetry(CloudStatus status, const std::vector<std::wstring>& failed) {
  const UploadQuestionTexts texts{transferFailedText(), transferText(1501646, 0), transferText(3201973, 0)};
  const std::wstring question = uploadQuestion(texts, status, systemText(status), failed);
  return MessageBoxW(nullptr, question.c_str(), L"Quorvel", kQuestionStyle) == IDYES;
}

}  // namespace Quorvel::FileAccess

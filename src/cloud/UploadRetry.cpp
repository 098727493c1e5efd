#include <algorithm>
#include <iterator>
#include <unordered_set>

#include "cloud/CloudCall.h"
#include "cloud/Ondrath_Services.h"
#include "cloud/TransferQuestion.h"
#include "host/FileTypes.h"
#include "host/ObjectFiles.h"
#include "host/UserMessages.h"
#include "platform/Text.h"
#include "zephor/NotUploadedFiles.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kFunction = L"Quorvel::FileAccess::UploadFilesRetry";
constexpr std::size_t kNamesShown = 10;

/// Remembers the objects of a refused upload; files of other types have no place in the list.
void rememberNotUploaded(const std::vector<QuorvFileInfo>& files) {
  for (const QuorvFileInfo& file : files) {
    QuorvelFileType type = eFileType_Unknown;
    int number = -1;
    GetTypeFromFilePathName(file.name, type, number);
    if (type != eFileType_Teilbild && type != eFileType_Plan) continue;
    addEntryToNotUploadedFilesList(file.name.c_str());
    SetDataChangedInfo(type == eFileType_Teilbild ? 1 : 2, number, 1);
  }
}

std::vector<std::wstring> namesOf(const std::vector<QuorvFileInfo>& files) {
  std::vector<std::wstring> names;
  names.reserve(files.size());
  for (const QuorvFileInfo& file : files) names.push_back(file.name);
  return names;
}

/// What the next pass sends: the files that the service named, compared exactly. When it named none of them, that is
/// nothing.
std::vector<QuorvFileInfo> filesToResend(const std::vector<QuorvFileInfo>& all,
                                         const std::vector<std::wstring>& failed) {
  const std::unordered_set<std::wstring> wanted(failed.begin(), failed.end());
  std::vector<QuorvFileInfo> next;
  std::copy_if(all.begin(), all.end(), std::back_inserter(next),
               [&](const QuorvFileInfo& file) { return wanted.contains(file.name); });
  return next;
}

}  // namespace

std::wstring uploadQuestion(const UploadQuestionTexts& texts, CloudStatus status, const std::wstring& statusText,
                            const std::vector<std::wstring>& failed) {
  std::wstring question = texts.heading + L'\n' + texts.error;
  question += platform::formatWide(L": 0x%08lx \"%s\"", statusCode(status), statusText);
  question += L"\n\n";
  for (std::size_t index = 0; index < std::min(failed.size(), kNamesShown); ++index) question += failed[index] + L'\n';
  if (failed.size() > kNamesShown) question += L"...\n";
  return question + L'\n' + texts.question;
}

CloudStatus UploadFilesRetry(const std::wstring& project, const std::wstring& baseDirectory,
                             const std::vector<QuorvFileInfo>& infos, std::uint32_t headerSize,
                             const CloudTransferOptions& options) {
  std::vector<QuorvFileInfo> working = infos;
  CloudStatus status = 0;
  for (;;) {
    const CloudStatus previous = status;
    std::vector<std::wstring> failed;
    bool answered = false;
    status = guardedCall(kFunction, [&] {
      const CloudStatus answer = QuorvelCloudController()->GetProjectService()->UploadFilesAndMetadata(
          project, baseDirectory, working, headerSize, options, failed);
      answered = true;
      return answer;
    });
    // A service that broke off could not say which files are left: all of them.
    if (!answered) failed = namesOf(working);
    if (status == 0) {
      // After a retry the caller learns of the failure before it, and the list stays: a file that the user was asked
      // about is only settled by an upload that goes through at once.
      if (previous != 0) return previous;
      for (const QuorvFileInfo& file : working) removeEntryFromNotUploadedFilesList(file.name.c_str());
      return 0;
    }
    lfperrC(L"%s: uploading files and metadata from \"%s\" failed with 0x%08lx.\n", kFunction, baseDirectory,
            statusCode(status));
    if (Msg2usr_IsDeny()) return status;
    if (!userWantsRetry(status, failed)) {
      rememberNotUploaded(working);
      return status;
    }
    working = filesToResend(infos, failed);
  }
}

}  // namespace Quorvel::FileAccess

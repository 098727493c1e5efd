#include "archives/ZipProgress.h"

#include "archives/ArchiveMessages.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kTop = 100;
constexpr int kFilesTextId = 2500484;

std::wstring titleFor(const CkZipW& zip, int verb) {
  return platform::formatWide(L"%s (%d %s)", languageText(verb), zip.get_NumEntries(), languageText(kFilesTextId));
}

}  // namespace

CZipProgress::CZipProgress(const std::wstring& title, const std::wstring& text) : bar_(title, text, kTop, 0) {}

CZipProgress::~CZipProgress() {
  bar_.HandleMessages();
  bar_.DestroyProgressBar();
}

void CZipProgress::PercentDone(int percent, bool* /*abort*/) {
  bar_.StepTo(percent);
  bar_.HandleMessages();
}

ScopedZipProgress::ScopedZipProgress(CkZipW& zip, int verb, const std::wstring& path)
    : zip_(zip), progress_(titleFor(zip, verb), path) {
  zip_.put_EventCallbackObject(&progress_);
}

ScopedZipProgress::~ScopedZipProgress() {
  zip_.put_EventCallbackObject(nullptr);
}

}  // namespace Quorvel::FileAccess

// The progress bar of work on an archive.
#pragma once

#include <string>

#include "host/ProgressBar.h"
#include "toolkit/ZipW.h"

namespace Quorvel::FileAccess {

/// Stands while it lives; belongs to the thread of the operation. The user can't end the operation through it.
class CZipProgress : public CkZipProgressW {
 public:
  CZipProgress(const std::wstring& title, const std::wstring& text);
  ~CZipProgress() override;
  CZipProgress(const CZipProgress&) = delete;
  CZipProgress& operator=(const CZipProgress&) = delete;

  void PercentDone(int percent, bool* abort) override;

 private:
  ZEPHOR_ProgressBar bar_;
};

/// Shows the progress of an archive's operation while it lives.
class ScopedZipProgress {
 public:
  /// @param verb  number of the language text for what is done with the archive's entries
  ScopedZipProgress(CkZipW& zip, int verb, const std::wstring& path);
  ~ScopedZipProgress();
  ScopedZipProgress(const ScopedZipProgress&) = delete;
  ScopedZipProgress& operator=(const ScopedZipProgress&) = delete;

 private:
  CkZipW& zip_;
  CZipProgress progress_;
};

}  // namespace Quorvel::FileAccess

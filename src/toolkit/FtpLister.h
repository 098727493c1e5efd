// Listings of the current directory, and single entries, with one source of times per server.
//
// MLSD and MLST (RFC 3659) where the server has them. Otherwise LIST for the names and MDTM for the time of each entry.
// The text of LIST gives times only where neither exists: it has minutes, or days, of a zone that nobody tells, and
// would differ from the time of the same file asked for alone.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "toolkit/FtpEntryList.h"

namespace Quorvel::FileAccess {

class FtpSession;

class FtpLister {
 public:
  explicit FtpLister(FtpSession& session) : session_(session) {}

  /// A new connection: what was found out about the server is forgotten.
  void reset() { isListAllRefused_ = false; }

  /// The last listing or search met nothing that shows that the directory exists.
  bool isDirectoryDoubtful() const { return isDirectoryDoubtful_; }

  /// Entries whose names match; none is a success. Their times may be owed, see complete().
  bool list(const std::wstring& pattern, FtpEntryList& out);
  /// What list() left out, since not every caller wants it: the times that a listing has no reliable ones of, and the
  /// sizes of what links lead to. The session is in the directory of the listing still.
  /// @return false when they can't be had
  bool complete(FtpEntryList& out);
  /// Everything, links told apart, times where they cost nothing.
  bool listForDeletion(FtpEntryList& out);
  /// One entry by its name, on the control connection. None is a success.
  bool find(const std::string& name, FtpEntryList& out);
  /// Empty when there is no such file, or on a failure.
  std::optional<std::int64_t> size(const std::string& name);

 private:
  using Accept = std::function<bool(const FtpEntry&)>;
  bool read(const Accept& accept, FtpEntryList& out);
  bool readFacts(const Accept& accept, FtpEntryList& out, bool& isUnknown);
  bool readLines(const Accept& accept, FtpEntryList& out);
  struct Form;
  struct Lines;
  Lines readForm(const Form& form, const Accept& accept, FtpEntryList& out);
  bool askDetails(FtpEntryList& out, bool onlyLinks);
  bool findByFacts(const std::string& name, FtpEntryList& out, bool& isUnknown);
  bool isNotThere(int code);
  bool findBySize(const std::string& name, FtpEntryList& out, bool& isUnknown);

  FtpSession& session_;
  bool isListAllRefused_ = false;
  bool isDirectoryDoubtful_ = false;
  std::string listedIn_;
};

}  // namespace Quorvel::FileAccess

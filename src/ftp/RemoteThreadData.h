// What a thread keeps of the session.
#pragma once

#include <memory>
#include <string>

#include "ftp/RemoteFtp.h"
#include "toolkit/RemoteClient.h"

namespace Quorvel::FileAccess {

struct RemoteFtp::ThreadData {
  std::unique_ptr<IRemoteClient> client;
  std::wstring connectedHost;  ///< host that the client was connected to
  std::wstring directory;      ///< last one asked for
  bool dialogsSuppressed = false;
  HWND parentWindow = nullptr;
  bool mayHaveLeftPart = false;

  /// A rename whose reply never came: it may have been done.
  struct Rename {
    std::wstring directory;
    std::wstring from;
    std::wstring to;
    bool operator==(const Rename&) const = default;
  };
  Rename unansweredRename;
};

}  // namespace Quorvel::FileAccess

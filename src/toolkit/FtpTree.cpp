#include "toolkit/FtpTree.h"

#include <vector>

#include "toolkit/FtpAhead.h"
#include "toolkit/FtpDialogue.h"
#include "toolkit/FtpLister.h"
#include "toolkit/FtpSession.h"

namespace Quorvel::FileAccess {

namespace {

struct Level {
  std::string path;
  std::vector<std::string> directories;  // still to be deleted
};

class Deletion {
 public:
  Deletion(FtpSession& session, FtpLister& lister) : session_(session), lister_(lister) {}

  bool run(const std::string& top) {
    std::vector<Level> levels;
    if (!enter(top, levels)) return false;
    while (!levels.empty()) {
      Level& level = levels.back();
      if (!level.directories.empty()) {
        const std::string name = std::move(level.directories.back());
        level.directories.pop_back();
        const std::string path = (level.path == "/" ? "" : level.path) + "/" + name;
        if (!enter(path, levels) && !session_.control().isOpen()) return false;
        continue;
      }
      const std::string done = std::move(level.path);
      levels.pop_back();
      if (levels.empty()) break;
      session_.directory().want(levels.back().path);
      if (!session_.prepare()) return false;
      const auto answer = session_.exchange("RMD " + std::string(leafOf(done)));
      if (!answer) return false;
      isAllGone_ = isAllGone_ && answer->isSuccess();
    }
    return isAllGone_;
  }

 private:
  /// Deletes what is empty, and what only looks like a directory; the rest stays in the level.
  bool removeAtOnce(Level& level) {
    std::vector<std::string> left;
    const bool isSent = sendAhead(
        session_, level.directories.size(), [&](std::size_t i) { return "RMD " + level.directories[i]; },
        [&](std::size_t i, const FtpReply& reply) {
          if (!reply.isSuccess()) left.push_back(level.directories[i]);
        });
    level.directories = std::move(left);
    return isSent;
  }

  bool enter(const std::string& path, std::vector<Level>& levels) {
    session_.directory().want(path);
    FtpEntryList entries;
    if (!session_.prepare() || !lister_.listForDeletion(entries)) {
      isAllGone_ = false;
      return false;
    }
    Level level;
    level.path = path;
    // What a server shows as a directory may be a link to one: it is tried as a file first, which takes the link away
    // and never what it leads to.
    const bool isSent = sendAhead(
        session_, entries.size(), [&](std::size_t i) { return "DELE " + std::string(entries.name(i)); },
        [&](std::size_t i, const FtpReply& reply) {
          if (reply.isSuccess()) return;
          if (entries.isDirectory(i) && !entries.isLink(i)) {
            level.directories.emplace_back(entries.name(i));
          } else {
            isAllGone_ = false;
          }
        });
    // Nor is one entered that RMD takes away as it stands.
    if (!isSent || !removeAtOnce(level)) return false;
    levels.push_back(std::move(level));
    return true;
  }

  FtpSession& session_;
  FtpLister& lister_;
  bool isAllGone_ = true;
};

}  // namespace

bool deleteBelowCurrent(FtpSession& session, FtpLister& lister) {
  const std::string top = session.directory().wanted();
  if (top.empty()) {
    session.dialogue().note("Error: the server does not tell its current directory");
    return false;
  }
  const bool isDeleted = Deletion(session, lister).run(top);
  session.directory().want(top);
  return isDeleted;
}

}  // namespace Quorvel::FileAccess

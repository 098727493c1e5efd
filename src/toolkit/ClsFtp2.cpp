#include "toolkit/ClsFtp2.h"

#include <charconv>
#include <limits>

#include "platform/Text.h"
#include "toolkit/FtpListing.h"
#include "toolkit/FtpTree.h"
#include "toolkit/Progress.h"

namespace Quorvel::FileAccess {

namespace {

constexpr int kRestartPending = 350;
constexpr std::size_t kMostRawNames = 100'000;

/// "REST 1234"
std::optional<std::uint64_t> restartOffset(const std::string& command) {
  if (command.size() < 6 || !platform::equalsIgnoreCase(nameOf(command.substr(0, 5)), L"REST ")) return std::nullopt;
  std::uint64_t offset = 0;
  const auto [end, error] = std::from_chars(command.data() + 5, command.data() + command.size(), offset);
  if (error != std::errc() || end != command.data() + command.size()) return std::nullopt;
  return offset;
}

bool isOneOf(const std::wstring& command, std::initializer_list<const wchar_t*> verbs) {
  const std::wstring verb = command.substr(0, command.find(L' '));
  return std::any_of(verbs.begin(), verbs.end(),
                     [&](const wchar_t* each) { return platform::equalsIgnoreCase(verb, each); });
}

}  // namespace

ClsFtp2::ClsFtp2() : session_(settings_, loop_, dialogue_), lister_(session_) {}

void ClsFtp2::setReceiver(CkFtp2ProgressW* receiver) {
  loop_.setReceiver(receiver);
  dialogue_.setReceiver(receiver);
}

const FtpServerFacts& ClsFtp2::facts() {
  if (session_.isConnected()) session_.features();
  return session_.facts();
}

bool ClsFtp2::begin() {
  dialogue_.begin();
  return session_.prepare();
}

std::optional<std::string> ClsFtp2::sendable(const std::wstring& name) {
  dialogue_.begin();
  if (!isSendable(name)) {
    dialogue_.note("Error: a name with a line end or a zero in it is not sent: " +
                   platform::toUtf8(name.substr(0, name.find_first_of(std::wstring_view(L"\r\n\0", 3)))) + "...");
    return std::nullopt;
  }
  std::string path = pathOf(name);
  if (path.empty()) {
    dialogue_.note("Error: the name is empty");
    return std::nullopt;
  }
  return path;
}

std::string ClsFtp2::pathOf(const std::wstring& path) const {
  if (rawNames_.empty()) return serverPath(path);
  std::string bytes;
  for (std::size_t begin = 0;;) {
    const std::size_t end = std::min(path.find_first_of(L"/\\", begin), path.size());
    const std::wstring_view part = std::wstring_view(path).substr(begin, end - begin);
    const auto raw = rawNames_.find(part);
    bytes += raw != rawNames_.end() ? raw->second : platform::toUtf8(part);
    if (end == path.size()) return cleanPath(bytes);
    bytes += '/';
    begin = end + 1;
  }
}

std::wstring ClsFtp2::nameAt(std::size_t index) {
  const std::string_view bytes = entries_.name(index);
  std::wstring name = nameOf(bytes);
  if (platform::isValidUtf8(bytes)) {
    // What was listed last counts, should another directory have the same name in other bytes.
    if (!rawNames_.empty()) rawNames_.erase(name);
  } else if (rawNames_.size() < kMostRawNames) {
    rawNames_[name] = bytes;
  }
  return name;
}

bool ClsFtp2::hasDetails(std::size_t index) {
  if (entries_.isDirectory(index)) return true;
  if (details_ == Details::Owed) details_ = lister_.complete(entries_) ? Details::Known : Details::Lost;
  return details_ == Details::Known;
}

bool ClsFtp2::connect() {
  dialogue_.begin();
  lister_.reset();
  forgetListing();
  rawNames_.clear();
  return session_.connect();
}

bool ClsFtp2::disconnect() {
  dialogue_.begin();
  session_.disconnect();
  return true;
}

bool ClsFtp2::feat(std::wstring& out) {
  if (!begin()) return false;
  out = nameOf(session_.featureText());
  return !out.empty();
}

bool ClsFtp2::quote(const std::wstring& command) {
  dialogue_.begin();
  if (command.empty() || !isSendable(command)) {
    dialogue_.note("Error: a command with a line end or a zero in it is not sent");
    return false;
  }
  if (!session_.prepare()) return false;
  const std::string line = platform::toUtf8(command);
  const std::optional<FtpReply> answer = isOneOf(command, {L"PASS", L"ACCT"})
                                             ? session_.exchange(line, line.substr(0, 4) + " ****")
                                             : session_.exchange(line);
  if (!answer) return false;
  if (answer->code == kRestartPending) session_.setRestart(restartOffset(line).value_or(0));
  if (isOneOf(command, {L"CWD", L"CDUP", L"XCWD", L"XCUP", L"SMNT", L"REIN", L"USER"})) {
    session_.directory().forgetAll();
  }
  if (isOneOf(command, {L"EPSV", L"PASV", L"EPRT", L"PORT"})) session_.passive().forget();
  return answer->isSuccess();
}

bool ClsFtp2::changeDirectory(const std::wstring& path) {
  const std::optional<std::string> target = sendable(path);
  if (!target) return false;
  const std::string before = session_.directory().wanted();
  const bool isChanged = session_.changeDirectory(*target);
  if (session_.directory().wanted() != before) forgetListing();
  return isChanged;
}

bool ClsFtp2::simple(const char* verb, const std::wstring& name) {
  const std::optional<std::string> target = sendable(name);
  if (!target || !session_.prepare()) return false;
  const std::optional<FtpReply> answer = session_.exchange(verb + *target);
  return answer && answer->isSuccess();
}

bool ClsFtp2::createDirectory(const std::wstring& name) {
  return simple("MKD ", name);
}

bool ClsFtp2::removeDirectory(const std::wstring& path) {
  session_.endRun();
  const bool isRemoved = simple("RMD ", path);
  FtpCurrentDirectory& directory = session_.directory();
  directory.forgetBelow(absolutePath(directory.wanted(), pathOf(path)));
  return isRemoved;
}

bool ClsFtp2::deleteTree() {
  if (!begin()) return false;
  session_.endRun();
  forgetListing();
  return deleteBelowCurrent(session_, lister_);
}

bool ClsFtp2::deleteFile(const std::wstring& name) {
  session_.endRun();
  return simple("DELE ", name);
}

bool ClsFtp2::rename(const std::wstring& oldName, const std::wstring& newName) {
  const std::optional<std::string> from = sendable(oldName);
  const std::optional<std::string> to = from ? sendable(newName) : std::nullopt;
  if (!to || !session_.prepare()) return false;
  session_.endRun();
  std::optional<FtpReply> answer = session_.exchange("RNFR " + *from);
  if (!answer || !answer->isIntermediate()) return false;
  answer = session_.exchange("RNTO " + *to);
  FtpCurrentDirectory& directory = session_.directory();
  directory.forgetBelow(absolutePath(directory.wanted(), *from));
  return answer && answer->isSuccess();
}

std::int64_t ClsFtp2::size(const std::wstring& name) {
  const std::optional<std::string> target = sendable(name);
  if (!target || !session_.prepare()) return -1;
  return lister_.size(*target).value_or(-1);
}

void ClsFtp2::setPattern(std::wstring pattern) {
  if (pattern != pattern_) forgetListing();
  pattern_ = std::move(pattern);
}

bool ClsFtp2::readListing(const std::optional<std::string>& name) {
  FtpCurrentDirectory& directory = session_.directory();
  const auto read = [&] { return name ? lister_.find(*name, entries_) : lister_.list(pattern_, entries_); };
  details_ = name ? Details::Known : Details::Owed;
  if (!session_.prepare() || !read()) return false;
  if (session_.takeConfirmed() || !lister_.isDirectoryDoubtful() || directory.wanted().empty()) return true;
  // Somebody may have deleted the directory under the session: servers then list nothing, and call that a success.
  directory.forgetServer();
  if (!session_.prepare()) return false;
  session_.takeConfirmed();
  return read();
}

std::int32_t ClsFtp2::countEntries() {
  if (!isListed_) {
    entries_.clear();
    const bool isOne = !pattern_.empty() && pattern_.find_first_of(L"*?") == std::wstring::npos;
    const std::optional<std::string> name = isOne ? sendable(pattern_) : std::nullopt;
    if (isOne && !name) return -1;
    dialogue_.begin();
    CkFtp2ProgressW* const receiver = loop_.receiver();
    const std::wstring where = receiver != nullptr ? nameOf(session_.directory().wanted()) : std::wstring();
    if (receiver != nullptr) receiver->onBeginListing(where.c_str());
    isListed_ = readListing(name);
    if (!isListed_ || entries_.size() > std::size_t{std::numeric_limits<std::int32_t>::max()}) {
      forgetListing();
      entries_.clear();
      return -1;
    }
    if (receiver != nullptr) receiver->onEndListing(where.c_str(), static_cast<std::int32_t>(entries_.size()));
  }
  return static_cast<std::int32_t>(entries_.size());
}

}  // namespace Quorvel::FileAccess

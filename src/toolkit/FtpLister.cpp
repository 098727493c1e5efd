#include "toolkit/FtpLister.h"

#include <charconv>

#include "platform/Time.h"
#include "toolkit/FtpAhead.h"
#include "toolkit/FtpData.h"
#include "toolkit/FtpListing.h"
#include "toolkit/FtpSession.h"
#include "toolkit/FtpTransfer.h"

namespace Quorvel::FileAccess {

namespace {

constexpr int kFileStatus = 213;
constexpr int kNoSuchFile = 450;

bool isUnknownCommand(int code) {
  return code == 500 || code == 502 || code == 504;
}

bool isMissing(int code) {
  return code == 550 || code == 553 || code == 450 || code == 501;
}

/// The text of a reply "213 value".
std::string_view valueOf(const FtpReply& reply) {
  const std::string_view text = reply.text;
  return text.substr(std::min<std::size_t>(text.size(), 4));
}

std::optional<std::int64_t> sizeIn(const FtpReply& reply) {
  if (reply.code != kFileStatus) return std::nullopt;
  const std::string_view value = valueOf(reply);
  std::int64_t size = -1;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), size);
  if (error != std::errc() || size < 0) return std::nullopt;
  return size;
}

std::optional<FILETIME> timeIn(const FtpReply& reply) {
  if (reply.code != kFileStatus) return std::nullopt;
  const std::string_view value = valueOf(reply);
  return parseFtpTime(value.substr(0, value.find_first_of(" \n")));
}

}  // namespace

bool FtpLister::list(const std::wstring& pattern, FtpEntryList& out) {
  const bool isAll = pattern.empty() || pattern == L"*";
  const auto accept = [&](const FtpEntry& entry) { return isAll || matchesPattern(nameOf(entry.name), pattern); };
  if (!read(accept, out)) return false;
  return askDetails(out, session_.features().mlst);
}

bool FtpLister::listForDeletion(FtpEntryList& out) {
  return read([](const FtpEntry&) { return true; }, out);
}

bool FtpLister::read(const Accept& accept, FtpEntryList& out) {
  out.clear();
  session_.endRun();
  if (!session_.cancelRestart()) return false;
  if (session_.features().mlst) {
    bool isUnknown = false;
    if (readFacts(accept, out, isUnknown)) return true;
    if (!isUnknown) return false;
    session_.withdraw(&FtpFeatures::mlst);
    out.clear();
  }
  return session_.control().isOpen() && readLines(accept, out);
}

bool FtpLister::readFacts(const Accept& accept, FtpEntryList& out, bool& isUnknown) {
  FtpLineSink sink([&](std::string_view line) {
    const std::optional<FtpEntry> entry = parseFactsLine(line);
    if (entry && accept(*entry)) out.add(*entry);
  });
  FtpTransfer transfer(session_);
  if (transfer.retrieve("MLSD", sink)) return true;
  isUnknown = isUnknownCommand(transfer.finalCode());
  return false;
}

bool FtpLister::readLines(const Accept& accept, FtpEntryList& out) {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  std::size_t lines = 0;
  const auto onLine = [&](std::string_view line) {
    ++lines;
    const std::optional<FtpEntry> entry = parseListLine(line, now);
    if (entry && accept(*entry)) out.add(*entry);
  };
  if (!isListAllRefused_) {
    // Without the flag most servers leave out names with a leading point. One that knows it lists "." at least.
    FtpLineSink sink(onLine);
    FtpTransfer transfer(session_);
    const bool isListed = transfer.retrieve("LIST -a", sink);
    if (isListed && lines > 0) return true;
    if (!isListed && transfer.finalCode() < 500 && transfer.finalCode() != kNoSuchFile) return false;
    out.clear();
  }
  FtpLineSink sink(onLine);
  FtpTransfer transfer(session_);
  if (!transfer.retrieve("LIST", sink)) return false;
  if (lines > 0) isListAllRefused_ = true;
  return true;
}

// A link shows its own size and time in every form of a listing; SIZE and MDTM tell those of what it leads to.
bool FtpLister::askDetails(FtpEntryList& out, bool onlyLinks) {
  const bool hasTime = session_.features().mdtm;
  const bool hasSize = session_.features().size;
  struct Question {
    std::uint32_t index;
    bool isSize;
  };
  std::vector<Question> questions;
  for (std::size_t i = 0; i < out.size(); ++i) {
    if (out.isDirectory(i) || (onlyLinks && !out.isLink(i))) continue;
    if (hasTime) questions.push_back({static_cast<std::uint32_t>(i), false});
    if (hasSize && out.isLink(i)) questions.push_back({static_cast<std::uint32_t>(i), true});
  }
  bool isUnknown = false;
  const bool isAsked = sendAhead(
      session_, questions.size(),
      [&](std::size_t i) {
        return (questions[i].isSize ? "SIZE " : "MDTM ") + std::string(out.name(questions[i].index));
      },
      [&](std::size_t i, const FtpReply& reply) {
        if (questions[i].isSize) {
          out.setBytes(questions[i].index, sizeIn(reply));
          return;
        }
        isUnknown = isUnknown || isUnknownCommand(reply.code);
        // The time of the listing line stays only where no other source exists.
        if (!isUnknown) out.setTime(questions[i].index, timeIn(reply));
      });
  if (isUnknown) session_.withdraw(&FtpFeatures::mdtm);
  return isAsked;
}

bool FtpLister::find(const std::string& name, FtpEntryList& out) {
  out.clear();
  bool isUnknown = true;
  if (session_.features().mlst) {
    if (findByFacts(name, out, isUnknown)) return true;
    if (!isUnknown) return false;
  }
  const FtpFeatures& features = session_.features();
  if (features.size && features.mdtm) {
    if (findBySize(name, out, isUnknown)) return true;
    if (!isUnknown) return false;
  }
  if (!session_.control().isOpen()) return false;
  return read([&](const FtpEntry& entry) { return entry.name == name; }, out) && askDetails(out, false);
}

bool FtpLister::findByFacts(const std::string& name, FtpEntryList& out, bool& isUnknown) {
  const std::optional<FtpReply> answer = session_.exchange("MLST " + name);
  isUnknown = answer && isUnknownCommand(answer->code);
  if (isUnknown) session_.withdraw(&FtpFeatures::mlst);
  if (!answer || isUnknown) return false;
  if (!answer->isSuccess()) return isMissing(answer->code);
  const std::string_view text = answer->text;
  for (std::size_t end = text.find('\n'); end != std::string_view::npos;) {
    const std::size_t begin = end + 1;
    end = text.find('\n', begin);
    std::optional<FtpEntry> entry = parseFactsOfOne(text.substr(begin, end - begin));
    if (!entry) continue;
    entry->name = leafOf(name);
    // proftpd 1.3.8 gives a link the type of what it leads to and yet its own size; the mode tells it apart.
    const bool isHiddenLink = !entry->isDirectory && text.find(";UNIX.mode=0777;") != std::string_view::npos;
    entry->isLink = entry->isLink || isHiddenLink;
    out.add(*entry);
    break;
  }
  return askDetails(out, true);
}

bool FtpLister::findBySize(const std::string& name, FtpEntryList& out, bool& isUnknown) {
  FtpControl& control = session_.control();
  control.queue("SIZE " + name, "SIZE " + name);
  control.queue("MDTM " + name, "MDTM " + name);
  if (!control.flush()) return false;
  const std::optional<FtpReply> sizeReply = session_.reply();
  const std::optional<FtpReply> timeReply = sizeReply ? session_.reply() : std::nullopt;
  if (!timeReply) return false;
  if (isUnknownCommand(sizeReply->code)) session_.withdraw(&FtpFeatures::size);
  if (isUnknownCommand(timeReply->code)) session_.withdraw(&FtpFeatures::mdtm);
  isUnknown = isUnknownCommand(sizeReply->code) || isUnknownCommand(timeReply->code);
  if (isUnknown) return false;
  const std::optional<std::int64_t> bytes = sizeIn(*sizeReply);
  if (!bytes) return isMissing(sizeReply->code);
  out.add(FtpEntry{std::string(leafOf(name)), false, false, bytes, timeIn(*timeReply)});
  return true;
}

std::optional<std::int64_t> FtpLister::size(const std::string& name) {
  if (session_.features().size) {
    const std::optional<FtpReply> answer = session_.exchange("SIZE " + name);
    if (!answer) return std::nullopt;
    if (!isUnknownCommand(answer->code)) return sizeIn(*answer);
    session_.withdraw(&FtpFeatures::size);
  }
  FtpEntryList found;
  if (!find(name, found) || found.size() == 0 || found.isDirectory(0) || found.bytes(0) < 0) return std::nullopt;
  return found.bytes(0);
}

}  // namespace Quorvel::FileAccess

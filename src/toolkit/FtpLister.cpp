#include "toolkit/FtpLister.h"

#include <charconv>

#include "platform/Time.h"
#include "toolkit/FtpAhead.h"
#include "toolkit/FtpData.h"
#include "toolkit/FtpDialogue.h"
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
  return read(accept, out);
}

bool FtpLister::complete(FtpEntryList& out) {
  return askDetails(out, session_.features().mlst);
}

bool FtpLister::listForDeletion(FtpEntryList& out) {
  return read([](const FtpEntry&) { return true; }, out);
}

bool FtpLister::read(const Accept& accept, FtpEntryList& out) {
  out.clear();
  listedIn_ = session_.directory().wanted();
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

struct FtpLister::Form {
  const char* command;
  std::function<std::optional<FtpEntry>(std::string_view)> parse;
  bool (*isKnown)(std::string_view);
};

struct FtpLister::Lines {
  bool isListed = false;
  int code = 0;
  std::size_t entries = 0;
  std::size_t known = 0;    ///< these, and what belongs into a listing and is none
  std::size_t unknown = 0;  ///< the sum in the first line is neither

  /// What came is no listing: an error text, or a form that nobody knows.
  bool isGarbage() const { return known == 0 && unknown > 0; }
};

FtpLister::Lines FtpLister::readForm(const Form& form, const Accept& accept, FtpEntryList& out) {
  out.clear();
  Lines lines;
  FtpLineSink sink([&](std::string_view line) {
    const std::optional<FtpEntry> entry = form.parse(line);
    if (entry) ++lines.entries;
    if (entry || form.isKnown(line)) {
      ++lines.known;
    } else if (line.substr(0, 6) != "total ") {
      ++lines.unknown;
    }
    if (entry && accept(*entry) && !out.add(*entry)) sink.refuse("the listing is too long");
  });
  FtpTransfer transfer(session_);
  lines.isListed = transfer.retrieve(form.command, sink);
  lines.code = transfer.finalCode();
  lines.unknown += sink.dropped();
  isDirectoryDoubtful_ = lines.entries == 0;  // "." is listed of a directory that is gone, too
  return lines;
}

bool FtpLister::readFacts(const Accept& accept, FtpEntryList& out, bool& isUnknown) {
  const Lines lines = readForm({"MLSD", parseFactsLine, isFactsLine}, accept, out);
  isUnknown = lines.isListed ? lines.isGarbage() : isUnknownCommand(lines.code);
  return lines.isListed && !isUnknown;
}

bool FtpLister::readLines(const Accept& accept, FtpEntryList& out) {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  const auto parse = [&now](std::string_view line) { return parseListLine(line, now); };
  if (!isListAllRefused_) {
    // Without the flag most servers leave out names with a leading point. One that knows it lists "." at least; others
    // may take it for a name.
    const Lines lines = readForm({"LIST -a", parse, isListLine}, accept, out);
    if (lines.isListed && lines.known > 0) return true;
    if (!lines.isListed && lines.code < 500 && lines.code != kNoSuchFile) return false;
  }
  const Lines lines = readForm({"LIST", parse, isListLine}, accept, out);
  if (!lines.isListed) return false;
  if (lines.known > 0) isListAllRefused_ = true;
  if (lines.isGarbage()) session_.dialogue().note("Error: what the server sent is no listing in a known form");
  return !lines.isGarbage();
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
  if (questions.empty()) return true;
  if (session_.directory().wanted() != listedIn_ || !session_.prepare()) return false;
  std::vector<std::uint32_t> unknown;
  bool isKnown = false;
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
        isKnown = isKnown || reply.code == kFileStatus;
        if (isUnknownCommand(reply.code)) {
          unknown.push_back(questions[i].index);
        } else {
          out.setTime(questions[i].index, timeIn(reply));
        }
      });
  // The times of the lines stay only where no other source exists: a server that knows the command for one file knows
  // it for all, whatever it says to a name that it does not like.
  if (isKnown) {
    for (const std::uint32_t index : unknown) out.setTime(index, std::nullopt);
  } else if (!unknown.empty()) {
    session_.withdraw(&FtpFeatures::mdtm);
  }
  return isAsked;
}

bool FtpLister::find(const std::string& name, FtpEntryList& out) {
  out.clear();
  isDirectoryDoubtful_ = false;
  listedIn_ = session_.directory().wanted();
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

bool FtpLister::isNotThere(int code) {
  isDirectoryDoubtful_ = isMissing(code);
  return isDirectoryDoubtful_;
}

bool FtpLister::findByFacts(const std::string& name, FtpEntryList& out, bool& isUnknown) {
  const std::optional<FtpReply> answer = session_.exchange("MLST " + name);
  isUnknown = answer && isUnknownCommand(answer->code);
  if (isUnknown) session_.withdraw(&FtpFeatures::mlst);
  if (!answer || isUnknown) return false;
  if (!answer->isSuccess()) return isNotThere(answer->code);
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
  if (!bytes) return isNotThere(sizeReply->code);
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

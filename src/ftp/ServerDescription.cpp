// What a server can do, found out over a connection of its own.
#include <random>
#include <string_view>

#include "ftp/RemoteClients.h"
#include "ftp/RestReply.h"
#include "host/System.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "toolkit/ByteData.h"
#include "toolkit/DirectoryClient.h"
#include "toolkit/Ftp2W.h"
#include "zephor/ServerStore.h"

namespace Quorvel::FileAccess {
namespace {

/// A small file of a name that nobody else has. It is deleted in every case.
class ProbeFile {
 public:
  explicit ProbeFile(IRemoteClient& client) : client_(client), name_(nextName()) {
    constexpr std::string_view kContent = "probe\n";
    CkByteData data;
    data.append(kContent.data(), kContent.size());
    exists_ = client.PutFileFromBinaryData(name_.c_str(), data);
  }
  ~ProbeFile() {
    // Also when the upload failed: a part may be there.
    client_.DeleteRemoteFile(name_.c_str());
  }
  ProbeFile(const ProbeFile&) = delete;
  ProbeFile& operator=(const ProbeFile&) = delete;

  bool exists() const { return exists_; }
  const std::wstring& name() const { return name_; }

 private:
  static std::wstring nextName() {
    // Drawn, since checks of other machines may run in the same directory.
    std::random_device random;
    return platform::formatWide(L".zephor-check-%08x%08x", random(), random());
  }

  IRemoteClient& client_;
  std::wstring name_;
  bool exists_ = false;
};

TimePrecision precisionOf(IRemoteClient& client, const std::wstring& name, const ServerAbilities& abilities) {
  constexpr std::uint64_t kTicksPerSecond = 10'000'000;
  client.ClearDirCache();
  client.put_ListPattern(name.c_str());
  FILETIME time{};
  if (client.get_NumFilesAndDirs() < 1 || !client.GetLastModifiedFTime(0, time)) return TimePrecision::None;
  if (platform::toTicks(time) % kTicksPerSecond != 0) return TimePrecision::Milliseconds;
  // Text listings show the minute at best, and of old files the day alone.
  return abilities.mlsd || abilities.mdtm ? TimePrecision::Seconds : TimePrecision::Days;
}

void probe(IRemoteClient& client, ServerAbilities& abilities) {
  const ProbeFile first(client);
  const ProbeFile second(client);
  if (!first.exists() || !second.exists()) return;
  abilities.timePrecision = precisionOf(client, first.name(), abilities);
  const bool replaced = client.RenameRemoteFile(first.name().c_str(), second.name().c_str());
  abilities.renameOnto = replaced ? RenameOnto::Replaces : RenameOnto::Refused;
}

void describe(CkFtp2W& client, ServerAbilities& abilities) {
  const FtpServerFacts& facts = client.facts();
  abilities.greeting = facts.greeting;
  abilities.tls = facts.tls;
  abilities.tlsVersion = facts.tlsVersion;
  abilities.rest = facts.rest && (client.Quote(L"REST 0") || isRestAccepted(client, 0));
  abilities.mlsd = facts.mlst;
  abilities.mdtm = facts.mdtm;
  abilities.mfmt = facts.mfmt;
  abilities.utf8 = facts.utf8;
}

void describeDirectory(ServerAbilities& abilities) {
  abilities.rest = true;
  abilities.mlsd = true;
  abilities.mdtm = true;
  abilities.mfmt = true;
  abilities.utf8 = true;
}

}  // namespace

int WGO_describeServer(const CServerProperties& properties, bool mayWrite, ServerAbilities& out) {
  constexpr int kNoBaseDirectory = -1;
  out = ServerAbilities{};
  const bool isDirectory = properties.hostName.empty() && !properties.baseDirectory.empty();
  const std::unique_ptr<CkFtp2W> ftp = isDirectory ? nullptr : makeCheckClient(properties, properties.epsvMode);
  const std::unique_ptr<IRemoteClient> directory = isDirectory ? makeDirectoryClient() : nullptr;
  IRemoteClient& client = isDirectory ? *directory : static_cast<IRemoteClient&>(*ftp);

  if (!client.Connect()) return client.get_ConnectFailReason();
  if (isDirectory) {
    describeDirectory(out);
  } else {
    describe(*ftp, out);
  }
  int result = 0;
  if (!properties.baseDirectory.empty() && !client.ChangeRemoteDir(properties.baseDirectory.c_str())) {
    result = kNoBaseDirectory;
  } else if (mayWrite) {
    probe(client, out);
  }
  if (ftp != nullptr) out.roundTripMicroseconds = ftp->roundTripMicroseconds();
  client.Disconnect();
  return result;
}

}  // namespace Quorvel::FileAccess

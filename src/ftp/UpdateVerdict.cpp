#include "ftp/UpdateVerdict.h"

#include "host/Guid.h"
#include "host/Headers.h"
#include "platform/Time.h"

namespace Quorvel::FileAccess {
namespace {

VersionVerdict compareStrictly(const FileVersion& local, const FileVersion& server) {
  if (local.counter != server.counter) return {eVerdict_ServerNewer, VerdictReason::CountersDiffer};
  if (!Quorvel::Cad::Service::ZP_GUIDValueProvider::IsEqualGUID(local.guid, server.guid)) {
    return {eVerdict_ServerNewer, VerdictReason::GuidsDiffer};
  }
  return {eVerdict_Equal, VerdictReason::Equal};
}

VersionVerdict compareInOrder(std::uint32_t local, std::uint32_t server, WrapTest wrapTest) {
  if (wrapTest != nullptr && wrapTest(local, server) > 0) return {eVerdict_LocalNewer, VerdictReason::LocalNewer};
  if (local < server) return {eVerdict_ServerNewer, VerdictReason::ServerNewer};
  if (server < local) return {eVerdict_LocalNewer, VerdictReason::LocalNewer};
  return {eVerdict_Equal, VerdictReason::Equal};
}

}  // namespace

WrapTest wrapTestOf(const ObjectType* type) {
  if (type == nullptr) return nullptr;
  if (*type == eObject_Teilbild) return &ZP_Header_TBFileBase::IsVersionCounterWrap;
  if (*type == eObject_Plan) return &ZP_Header_PLFileBase::IsVersionCounterWrap;
  return nullptr;
}

VersionVerdict compareVersions(const FileVersion& local, const FileVersion& server, WrapTest wrapTest,
                               CompareMode mode) {
  const bool localMissing = local.counter == kUnknownVersion;
  const bool serverMissing = server.counter == kUnknownVersion;
  if (localMissing && serverMissing) return {eVerdict_BothMissing, VerdictReason::BothMissing};
  if (localMissing) return {eVerdict_LocalMissing, VerdictReason::LocalMissing};
  if (serverMissing) return {eVerdict_ServerMissing, VerdictReason::ServerMissing};
  if (mode == eCompare_Strict) return compareStrictly(local, server);
  if (mode == eCompare_Ordered) return compareInOrder(local.counter, server.counter, wrapTest);
  return {eVerdict_Equal, VerdictReason::Equal};
}

VersionVerdict compareTimes(const FileTimeStamp& local, const FileTimeStamp& server) {
  if (!server.exists) {
    return local.exists ? VersionVerdict{eVerdict_ServerMissing, VerdictReason::ServerMissing}
                        : VersionVerdict{eVerdict_BothMissing, VerdictReason::BothMissing};
  }
  const LONG order = CompareFileTime(&local.time, &server.time);
  if (order < 0) return {eVerdict_ServerNewer, VerdictReason::ServerNewer};
  if (order > 0) return {eVerdict_LocalNewer, VerdictReason::LocalNewer};
  return {eVerdict_Equal, VerdictReason::Equal};
}

const wchar_t* verdictLine(VerdictReason reason) {
  switch (reason) {
    case VerdictReason::BothMissing:
      return L"fileNeedsUpdate: <file is missing on both sides>: %s";
    case VerdictReason::LocalMissing:
      return L"fileNeedsUpdate: <local file does'nt exist>: %s";
    case VerdictReason::ServerMissing:
      return L"fileNeedsUpdate: <server file does'nt exist>: %s";
    case VerdictReason::CountersDiffer:
      return L"fileNeedsUpdate: <version counter different>: %s";
    case VerdictReason::GuidsDiffer:
      return L"fileNeedsUpdate: <GUIDs different>: %s";
    case VerdictReason::ServerNewer:
      return L"fileNeedsUpdate: <server file is newer>: %s";
    case VerdictReason::LocalNewer:
      return L"fileNeedsUpdate: <local file is newer>: %s";
    case VerdictReason::Equal:
    default:
      return L"fileNeedsUpdate: <files are equal>: %s";
  }
}

}  // namespace Quorvel::FileAccess

#include "ftp/UpdateVerdict.h"

#include "host/Guid.h"
#include "host/Headers.h"

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

}  // namespace Quorvel::FileAccess

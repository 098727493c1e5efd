#include "ftp/UpdateVerdict.h"

#include <gtest/gtest.h>

#include "host/Records.h"

namespace {

using namespace Quorvel::FileAccess;

TEST(UpdateVerdict, TwoVersionsGiveOneVerdict) {
  constexpr std::uint32_t kNone = kUnknownVersion;
  constexpr std::uint32_t kLast = kUnknownVersion - 1;
  constexpr auto kAny = static_cast<CompareMode>(0);
  const struct {
    const char* what;
    std::uint32_t local, server;
    int type;
    CompareMode mode;
    UpdateVerdict verdict;
    VerdictReason reason;
    bool sameGuid;
  } table[] = {
      {"missing twice", kNone, kNone, 0, eCompare_Strict, eVerdict_BothMissing, VerdictReason::BothMissing, true},
      {"missing here", kNone, 0, 0, eCompare_Ordered, eVerdict_LocalMissing, VerdictReason::LocalMissing, true},
      {"missing there", kLast, kNone, 0, kAny, eVerdict_ServerMissing, VerdictReason::ServerMissing, true},
      {"strict, equal", 5, 5, 0, eCompare_Strict, eVerdict_Equal, VerdictReason::Equal, true},
      {"strict, local ahead", 6, 5, 0, eCompare_Strict, eVerdict_ServerNewer, VerdictReason::CountersDiffer, true},
      {"strict, other GUID", 5, 5, 0, eCompare_Strict, eVerdict_ServerNewer, VerdictReason::GuidsDiffer, false},
      {"ordered, other GUID", 5, 5, 0, eCompare_Ordered, eVerdict_Equal, VerdictReason::Equal, false},
      {"ordered, local ahead", 6, 5, 1, eCompare_Ordered, eVerdict_LocalNewer, VerdictReason::LocalNewer, true},
      {"ordered, server ahead", 5, 6, 0, eCompare_Ordered, eVerdict_ServerNewer, VerdictReason::ServerNewer, true},
      {"ordered, unsigned", 5, 0x90000000, 1, eCompare_Ordered, eVerdict_ServerNewer, VerdictReason::ServerNewer, true},
      {"Teilbild wrapped", 0, kLast, 0, eCompare_Ordered, eVerdict_LocalNewer, VerdictReason::LocalNewer, true},
      {"Plan wrapped", 3, kLast - 2, 2, eCompare_Ordered, eVerdict_LocalNewer, VerdictReason::LocalNewer, true},
      {"Zeichnung does not wrap", 0, kLast, 1, eCompare_Ordered, eVerdict_ServerNewer, VerdictReason::ServerNewer,
       true},
      {"any other mode", 1, 9, 0, kAny, eVerdict_Equal, VerdictReason::Equal, false},
  };
  const GUID guid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  GUID otherGuid = guid;
  otherGuid.Data4[7] = 0;
  for (const auto& row : table) {
    const auto type = static_cast<ObjectType>(row.type);
    const VersionVerdict answer =
        compareVersions({row.local, guid}, {row.server, row.sameGuid ? guid : otherGuid}, wrapTestOf(&type), row.mode);
    EXPECT_EQ(answer.verdict, row.verdict) << row.what;
    EXPECT_EQ(answer.reason, row.reason) << row.what;
  }
}

}  // namespace

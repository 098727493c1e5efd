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
    bool sameGuid;
    int type;
    CompareMode mode;
    UpdateVerdict verdict;
    VerdictReason reason;
  } table[] = {
      {"missing twice", kNone, kNone, true, 0, eCompare_Strict, eVerdict_BothMissing, VerdictReason::BothMissing},
      {"missing here", kNone, 0, true, 0, eCompare_Ordered, eVerdict_LocalMissing, VerdictReason::LocalMissing},
      {"missing there", kLast, kNone, true, 0, kAny, eVerdict_ServerMissing, VerdictReason::ServerMissing},
      {"strict, equal", 5, 5, true, 0, eCompare_Strict, eVerdict_Equal, VerdictReason::Equal},
      {"strict, local ahead", 6, 5, true, 0, eCompare_Strict, eVerdict_ServerNewer, VerdictReason::CountersDiffer},
      {"strict, other GUID", 5, 5, false, 0, eCompare_Strict, eVerdict_ServerNewer, VerdictReason::GuidsDiffer},
      {"ordered, other GUID", 5, 5, false, 0, eCompare_Ordered, eVerdict_Equal, VerdictReason::Equal},
      {"ordered, local ahead", 6, 5, true, 1, eCompare_Ordered, eVerdict_LocalNewer, VerdictReason::LocalNewer},
      {"ordered, server ahead", 5, 6, true, 0, eCompare_Ordered, eVerdict_ServerNewer, VerdictReason::ServerNewer},
      {"ordered, unsigned", 5, 0x90000000, true, 1, eCompare_Ordered, eVerdict_ServerNewer, VerdictReason::ServerNewer},
      {"Teilbild wrapped", 0, kLast, true, 0, eCompare_Ordered, eVerdict_LocalNewer, VerdictReason::LocalNewer},
      {"Plan wrapped", 3, kLast - 2, true, 2, eCompare_Ordered, eVerdict_LocalNewer, VerdictReason::LocalNewer},
      {"Zeichnung does not wrap", 0, kLast, true, 1, eCompare_Ordered, eVerdict_ServerNewer,
       VerdictReason::ServerNewer},
      {"any other mode", 1, 9, false, 0, kAny, eVerdict_Equal, VerdictReason::Equal},
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

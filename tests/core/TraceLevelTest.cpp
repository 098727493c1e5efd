#include "host/System.h"
#include "tests/core/StartedWorkstation.h"
#include "zephor/Service.h"

namespace {

using namespace Quorvel::FileAccess;

class TraceLevel : public StartedWorkstation {
 protected:
  static void put(int section, int value) { ZSYST_ZepRegPutNumber(L"HKCU", getTraceRegistrySection(section), value); }
};

TEST_F(TraceLevel, AMissingSwitchIsWrittenAsOffAndReadTheNextTime) {
  start();
  int stored = -1;
  ASSERT_FALSE(ZSYST_ZepRegGetNumber(L"HKCU", getTraceRegistrySection(5), stored));
  EXPECT_EQ(WGO_GetTrace(), -1);
  EXPECT_TRUE(ZSYST_ZepRegGetNumber(L"HKCU", getTraceRegistrySection(5), stored));
  EXPECT_EQ(stored, 0);
  EXPECT_EQ(WGO_GetTrace(), 0);
}

TEST_F(TraceLevel, TheDetailCountsOnlyWhenTheSwitchIsOn) {
  start();
  put(1, 4);
  WGO_SetTrace(0);
  EXPECT_EQ(WGO_GetTrace(), 0);
  WGO_SetTrace(1);
  EXPECT_EQ(WGO_GetTrace(), 4);
  put(5, 0);
  EXPECT_EQ(WGO_GetTrace(), 4) << "the level is read once";
  WGO_SetTrace(-3);
  EXPECT_EQ(WGO_GetTrace(), -3);
}

}  // namespace

#include "core/ObjectNames.h"

#include <gtest/gtest.h>

namespace {

using namespace Quorvel::FileAccess;

TEST(ObjectNames, NamesPatternsAndBothNumberingsBelongTogether) {
  const struct {
    ObjectType type;
    int fileType;
    const wchar_t* name;
    const wchar_t* pattern;
  } table[] = {{eObject_Teilbild, 0, L"tb000012.zdw", L"tb??????.zdw"},
               {eObject_Zeichnung, 28, L"ze000012.000", L"ze??????.000"},
               {eObject_Plan, 33, L"pb000012.zpl", L"pb??????.zpl"}};
  for (const auto& row : table) {
    EXPECT_EQ(objectFileName(row.type, 12), row.name);
    EXPECT_EQ(objectFilePattern(row.type), row.pattern);
    EXPECT_EQ(objectTypeOf(row.fileType), row.type);
  }
  for (const int fileType : {-1, 1, 2, 3, 27, 34, 75}) EXPECT_FALSE(objectTypeOf(fileType)) << fileType;
  EXPECT_EQ(objectFileName(static_cast<ObjectType>(3), 1), L"");
}

}  // namespace

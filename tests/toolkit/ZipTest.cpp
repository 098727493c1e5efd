#include "toolkit/ZipW.h"

#include <gtest/gtest.h>

#include "platform/Text.h"
#include "tests/platform/TemporaryDirectory.h"

namespace {

using namespace Quorvel::FileAccess;

CkByteData bytes(const std::string& text) {
  CkByteData data;
  data.append(text.data(), text.size());
  return data;
}

std::string text(const CkByteData& data) {
  return {data.getData(), data.getData() + data.getSize()};
}

using Zip = TemporaryDirectoryTest;

TEST_F(Zip, ComesBackFromMemory) {
  std::string drawing;
  for (unsigned i = 0; i < 300000; ++i) drawing += std::to_string(i * 7919 % 10007);
  CkByteData archive;
  {
    CkZipW zip;
    zip.SetCompressionLevel(6);
    const auto entry = zip.AppendData(L"tb000123.zdw", bytes(drawing));
    ASSERT_TRUE(entry) << platform::toUtf8(zip.lastErrorText());
    ASSERT_TRUE(zip.WriteToMemory(archive)) << platform::toUtf8(zip.lastErrorText());
    ASSERT_TRUE(zip.AppendData(L"noise", bytes("ab")));
    ASSERT_TRUE(zip.WriteToMemory(archive)) << platform::toUtf8(zip.lastErrorText());
  }
  write("a.zip", text(archive));
  CkZipW zip;
  ASSERT_TRUE(zip.OpenFromByteData(archive)) << platform::toUtf8(zip.lastErrorText());
  auto entry = zip.FirstMatchingEntry(L"*.ZDW");
  ASSERT_TRUE(entry);
  CkByteData back;
  ASSERT_TRUE(entry->Inflate(back)) << platform::toUtf8(zip.lastErrorText());
  EXPECT_TRUE(text(back) == drawing);
  ASSERT_TRUE(entry->put_FileName(L"other.zdw"));
  ASSERT_TRUE(entry->Extract(path(L"").c_str())) << platform::toUtf8(zip.lastErrorText());
  EXPECT_TRUE(read("other.zdw") == drawing);
  ASSERT_EQ(system(("cd " + root().string() + "; unzip -v a.zip; unzip -t a.zip; 7zz t a.zip; ls -la").c_str()), 0);
  ASSERT_TRUE(zip.OpenZip(path(L"a.zip").c_str())) << platform::toUtf8(zip.lastErrorText());
  ASSERT_TRUE(zip.DeleteEntry(*zip.GetEntryByName(L"noise")));
  ASSERT_TRUE(zip.AppendOneFileOrDir(path(L"other.zdw").c_str(), false)) << platform::toUtf8(zip.lastErrorText());
  ASSERT_TRUE(zip.WriteZipAndClose()) << platform::toUtf8(zip.lastErrorText());
  ASSERT_EQ(system(("cd " + root().string() + "; unzip -v a.zip; unzip -t a.zip; 7zz t a.zip; ls -la").c_str()), 0);
  ASSERT_TRUE(zip.OpenZip(path(L"a.zip").c_str())) << platform::toUtf8(zip.lastErrorText());
  ASSERT_TRUE(zip.Extract(path(L"out").c_str())) << platform::toUtf8(zip.lastErrorText());
  zip.CloseZip();
}

}  // namespace

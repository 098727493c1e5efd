#include "workstation/objects/ObjectFile.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <tuple>

#include "host/Headers.h"
#include "host/ObjectFiles.h"
#include "platform/Text.h"
#include "tests/support/TemporaryDirectory.h"
#include "workstation/objects/ObjectLayout.h"

namespace {

using workstation::ObjectFileInfo;

class ObjectFileTest : public testing::Test {
 protected:
  std::wstring path(const std::wstring& name) const { return directory_.libraryPath() + L"\\" + name; }
  std::string read(const std::string& name) const { return zephor_test::contentOf(directory_.path(name)); }
  void write(const std::string& name, const std::string& bytes) const {
    std::ofstream(directory_.path(name), std::ios::binary) << bytes;
  }
  /// A Teilbild 1 around `bytes`; its path.
  std::wstring create(const std::string& bytes) {
    write("plan.dwg", bytes);
    std::wstring made;
    EXPECT_EQ(workstation::createObject(directory_.libraryPath(), eFileType_Teilbild, 1, L"Ground floor",
                                        path(L"plan.dwg"), author_, made, error_),
              ERROR_SUCCESS)
        << platform::toUtf8(error_);
    return made;
  }
  TeilbildHeader header(const std::wstring& objectPath) {
    ObjectFileInfo info;
    EXPECT_EQ(workstation::readObjectHeader(objectPath, info, error_), ERROR_SUCCESS) << platform::toUtf8(error_);
    return std::get<TeilbildHeader>(info.record);
  }

  zephor_test::TemporaryDirectory directory_;
  workstation::ObjectAuthor author_{7, L"Ada"};
  std::wstring error_;
};

TEST_F(ObjectFileTest, SavingKeepsGuidAndCreationAndRaisesTheVersion) {
  const std::wstring object = create("first");
  const TeilbildHeader first = header(object);
  write("new name.dwg", "second, longer");
  ASSERT_EQ(workstation::replaceContent(object, path(L"new name.dwg"), {9, L"Bo"}, error_), ERROR_SUCCESS);
  const TeilbildHeader second = header(object);
  EXPECT_EQ(second.versionCounter, first.versionCounter + 1);
  EXPECT_EQ(std::bit_cast<std::uint64_t>(second.guidFirst), std::bit_cast<std::uint64_t>(first.guidFirst));
  EXPECT_EQ(std::bit_cast<std::uint64_t>(second.guidSecond), std::bit_cast<std::uint64_t>(first.guidSecond));
  EXPECT_EQ(second.createdTime, first.createdTime);
  EXPECT_GE(second.modifiedTime, first.modifiedTime);
  EXPECT_EQ(second.creator, 7);
  EXPECT_EQ(second.lastUser, 9);
  EXPECT_EQ(second.contentSize, 14);
  EXPECT_EQ(workstation::textOfMember(second.userName), L"Bo");
  EXPECT_EQ(workstation::textOfMember(second.contentName), L"new name.dwg");
  const std::string before = read("tb000001.zdw");
  EXPECT_EQ(workstation::replaceContent(object, path(L"missing"), author_, error_), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(read("tb000001.zdw"), before);
  ASSERT_EQ(workstation::touchVersion(object, author_, error_), ERROR_SUCCESS);
  EXPECT_EQ(header(object).versionCounter, first.versionCounter + 2);
  EXPECT_EQ(workstation::exportContent(object, path(L"out"), error_), ERROR_SUCCESS);
  EXPECT_EQ(read("out"), "second, longer");
}

TEST_F(ObjectFileTest, NoDamagedByteAndNoCutFilePasses) {
  const std::wstring object = create("content that is worth a day of work");
  const std::string whole = read("tb000001.zdw");
  for (std::size_t i = 0; i < whole.size(); ++i) {
    std::string damaged = whole;
    damaged[i] = static_cast<char>(damaged[i] ^ 0x41);
    write("tb000001.zdw", damaged);
    error_.clear();
    EXPECT_EQ(workstation::verifyObject(object, error_), ERROR_INVALID_DATA) << "byte " << i;
    EXPECT_NE(error_.find(L"tb000001.zdw"), std::wstring::npos);
  }
  write("out", "what stood there");
  EXPECT_EQ(workstation::exportContent(object, path(L"out"), error_), ERROR_INVALID_DATA);
  EXPECT_EQ(read("out"), "what stood there");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    write("tb000001.zdw", whole.substr(0, size));
    EXPECT_EQ(workstation::verifyObject(object, error_), ERROR_INVALID_DATA) << "cut at " << size;
  }
  write("tb000001.zdw", std::string(300, 'z'));
  EXPECT_EQ(workstation::verifyObject(object, error_), ERROR_INVALID_DATA);
  EXPECT_NE(error_.find(L"not an object file"), std::wstring::npos);
  write("tb000001.zdw", whole + "x");
  EXPECT_EQ(workstation::verifyObject(object, error_), ERROR_INVALID_DATA);
  EXPECT_EQ(workstation::replaceContent(object, path(L"plan.dwg"), author_, error_), ERROR_INVALID_DATA);
  EXPECT_EQ(read("tb000001.zdw"), whole + "x");
}

/// A head whose checksum is right, whatever it says.
std::string withChecksum(std::string head) {
  const std::uint32_t crc = workstation::crc32Of(head.data(), 124);
  std::memcpy(head.data() + 124, &crc, sizeof crc);
  return head;
}

TEST_F(ObjectFileTest, HostileFieldsUnderARightChecksumAreRefused) {
  const std::wstring object = create("content");
  const std::string whole = read("tb000001.zdw");
  for (const auto& [offset, value, width, says] : {std::tuple{8, 2ULL, 2U, L"newer"},
                                                   {8, 0ULL, 2U, L"offset 8"},
                                                   {10, 28ULL, 2U, L"expected"},
                                                   {12, 64ULL, 4U, L"offset 12"},
                                                   {16, ~0ULL, 8U, L"offset 16"},
                                                   {24, 0xFFFFFFFFULL, 4U, L"offset 24"},
                                                   {24, 0ULL, 4U, L"offset 24"},
                                                   {32, 1ULL, 8U, L"offset 32"},
                                                   {40, 0ULL, 4U, L"offset 40"},
                                                   {48, ~0ULL, 8U, L"offset 48"},
                                                   {56, ~0ULL, 8U, L"offset 56"},
                                                   {56, 0x7FFFFFFFFFFE0000ULL, 8U, L"cut"},
                                                   {56, 0ULL, 8U, L"behind the end"}}) {
    std::string hostile = whole;
    std::memcpy(hostile.data() + offset, &value, width);
    write("tb000001.zdw", withChecksum(hostile));
    ObjectFileInfo info;
    EXPECT_EQ(workstation::readObjectHeader(object, info, error_), ERROR_INVALID_DATA) << offset;
    EXPECT_NE(error_.find(says), std::wstring::npos) << platform::toUtf8(error_);
  }
}

TEST_F(ObjectFileTest, SectionsAreNeverAnsweredOutsideTheBuffer) {
  create("content");
  const std::string whole = read("tb000001.zdw");
  const std::size_t headSize = HEAD_t_GetSizeOfSectionFileHead();
  std::size_t tablesEnd = 0;
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    const std::vector<std::uint8_t> buffer(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(HEAD_t_IsValidHead(buffer.data(), size), size >= headSize);
    const std::size_t position = HEAD_t_GetPosOfSectionFileTables(buffer.data(), size);
    const std::size_t length = HEAD_t_GetSizeOfSectionFileTables(buffer.data(), size);
    ASSERT_LE(position + length, size);
    if (length != 0 && tablesEnd == 0) tablesEnd = size;
  }
  EXPECT_GT(tablesEnd, headSize);
  std::string hostile = whole;
  std::memset(hostile.data() + 24, 0xFF, 4);
  hostile = withChecksum(hostile);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(hostile.data());
  EXPECT_FALSE(HEAD_t_IsValidHead(bytes, hostile.size()));
  EXPECT_EQ(HEAD_t_GetPosOfSectionFileTables(bytes, hostile.size()), 0U);
  EXPECT_EQ(HEAD_t_GetSizeOfSectionFileTables(nullptr, 500), 0U);
}

TEST(VersionCounter, WrapsPastTheUnknownValue) {
  EXPECT_EQ(workstation::nextVersion(1), 2U);
  EXPECT_EQ(workstation::nextVersion(0xFFFFFFFE), 0U);
  EXPECT_EQ(workstation::nextVersion(kUnknownVersion), 0U);
  for (const auto& [a, b, wrapped] : {std::tuple{0U, 0xFFFFFFFEU, true},
                                      {0U, 0x80000000U, false},
                                      {0U, 0x80000001U, true},
                                      {2U, 1U, false},
                                      {0xFFFFFFFEU, 0U, false},
                                      {3U, kUnknownVersion, false}}) {
    EXPECT_EQ(ZP_Header_TBFileBase::IsVersionCounterWrap(a, b) > 0, wrapped) << a << " " << b;
    EXPECT_EQ(ZP_Header_PLFileBase::IsVersionCounterWrap(a, b) > 0, wrapped) << a << " " << b;
  }
}

}  // namespace

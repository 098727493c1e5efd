// Compressed Teilbilder that the test packs itself: their content comes out byte for byte, or not at all.
#include <gtest/gtest.h>
#include <zip.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>

#include "platform/Text.h"
#include "tests/support/TemporaryDirectory.h"
#include "workstation/objects/ObjectFile.h"

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;
using workstation::ObjectFileInfo;

constexpr std::size_t kSections = 1624;

class CompressedContent : public testing::Test {
 protected:
  CompressedContent() {
    for (int i = 0; i < 3000; ++i) content_ += "line " + std::to_string(i % 97) + "\r\n";
    write("plan.dwg", content_);
    std::wstring made;
    EXPECT_EQ(workstation::createObject(directory_.libraryPath(), eFileType_Teilbild, 5, L"Floor", path(L"plan.dwg"),
                                        author_, made, error_),
              ERROR_SUCCESS);
    whole_ = read("tb000005.zdw");
    packed_ = packed({{"tb000005.zdw", whole_}});
  }
  std::wstring path(const std::wstring& name) const { return directory_.libraryPath() + L"\\" + name; }
  std::string read(const std::string& name) const { return zephor_test::contentOf(directory_.path(name)); }
  void write(const std::string& name, const std::string& bytes) const {
    std::ofstream(directory_.path(name), std::ios::binary) << bytes;
  }
  std::string archive(const Entries& entries, zip_int32_t method) const {
    const std::string file = directory_.path("archive");
    zip_t* zip = zip_open(file.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    for (const auto& [name, bytes] : entries) {
      const auto index =
          zip_file_add(zip, name.c_str(), zip_source_buffer(zip, bytes.data(), bytes.size(), 0), ZIP_FL_ENC_UTF_8);
      zip_set_file_compression(zip, static_cast<zip_uint64_t>(index), method, 6);
    }
    EXPECT_EQ(zip_close(zip), 0);
    return read("archive");
  }
  /// Header, record, plain sections and an archive around `whole_`.
  std::string packed(const Entries& entries, zip_int32_t method = ZIP_CM_DEFLATE) const {
    std::uint32_t tables = 0;
    std::memcpy(&tables, whole_.data() + 24, sizeof tables);
    const auto archiveAt = static_cast<std::uint16_t>(kSections + 128 + tables);
    std::string bytes("QVPK\1", 5);
    bytes.resize(48);
    const std::uint64_t size = whole_.size();
    std::memcpy(bytes.data() + 24, &size, sizeof size);
    const std::uint16_t fields[] = {48, 48, 1576, 1624, 128, 1752, static_cast<std::uint16_t>(tables), archiveAt};
    std::memcpy(bytes.data() + 32, fields, sizeof fields);
    bytes += whole_.substr(128 + tables, 1576);
    bytes[48 + 1571] = 1;
    return bytes + whole_.substr(0, 128 + tables) + archive(entries, method);
  }
  ObjectFileInfo header(const std::wstring& object) {
    ObjectFileInfo info;
    EXPECT_EQ(workstation::readObjectHeader(object, info, error_), ERROR_SUCCESS) << platform::toUtf8(error_);
    return info;
  }
  DWORD exported() { return workstation::exportContent(path(L"tb000005.zdw"), path(L"out"), error_); }

  zephor_test::TemporaryDirectory directory_;
  workstation::ObjectAuthor author_{7, L"Ada"};
  std::string content_;
  std::string whole_;
  std::string packed_;
  std::wstring error_;
};

TEST_F(CompressedContent, ContentComesOutByteForByteAndASaveMakesItUncompressed) {
  const std::wstring object = path(L"tb000006.zdw");
  for (const zip_int32_t method : {ZIP_CM_DEFLATE, ZIP_CM_STORE}) {
    write("tb000006.zdw", packed({{"tb000005.zdw", whole_}}, method));
    const ObjectFileInfo info = header(object);
    EXPECT_TRUE(info.compressed);
    EXPECT_EQ(info.expandedSize, whole_.size());
    EXPECT_EQ(workstation::numberOf(info.record), 6) << "the name of the file decides";
    EXPECT_EQ(std::get<TeilbildHeader>(info.record).compressedMark, 1);
    EXPECT_EQ(workstation::verifyObject(object, error_), ERROR_SUCCESS) << platform::toUtf8(error_);
    EXPECT_EQ(workstation::exportContent(object, path(L"out"), error_), ERROR_SUCCESS) << platform::toUtf8(error_);
    EXPECT_EQ(read("out"), content_);
  }
  const std::uint32_t above = 41;
  ASSERT_EQ(workstation::touchVersion(object, author_, error_, &above), ERROR_SUCCESS) << platform::toUtf8(error_);
  EXPECT_EQ(workstation::versionOf(header(object).record), 42U);
  EXPECT_FALSE(header(object).compressed);
  EXPECT_EQ(header(object).contentName, L"plan.dwg");
  EXPECT_EQ(workstation::exportContent(object, path(L"out"), error_), ERROR_SUCCESS);
  EXPECT_EQ(read("out"), content_);

  write("tb000005.zdw", packed_);
  write("a.txt", "abc");
  ASSERT_EQ(workstation::replaceContent(path(L"tb000005.zdw"), path(L"a.txt"), author_, error_), ERROR_SUCCESS);
  EXPECT_EQ(std::get<TeilbildHeader>(header(path(L"tb000005.zdw")).record).compressedMark, 0);
}

TEST_F(CompressedContent, LyingFieldsAndForeignArchivesAreRefusedWithTheirPlace) {
  const auto field = [this](std::size_t offset, std::uint64_t value, std::size_t width = 2) {
    std::string bytes = packed_;
    std::memcpy(bytes.data() + offset, &value, width);
    return bytes;
  };
  std::string other = whole_;
  other.back() = '!';
  const struct {
    std::string bytes;
    const wchar_t* says;
    bool hasHeader = true;
  } cases[] = {
      {field(4, 2, 1), L"newer program", false},
      {field(34, 47), L"offset 34", false},
      {field(36, 0), L"offset 34", false},
      {field(46, 100), L"offset 34", false},
      {field(46, 0xFFFF), L"offset 34", false},
      {field(24, ~0ULL, 8), L"offset 24"},
      {field(24, 1ULL << 40U, 8), L"offset 24"},
      {field(32, 47), L"offset 32"},
      {field(38, 0xFFFF), L"offset 38"},
      {field(40, 0), L"offset 40"},
      {field(42, 0), L"offset 42"},
      {field(44, 0xFFFF), L"offset 46"},
      {field(kSections, 0), L"QVOB"},
      {field(48 + 32, 1), L"record at 48"},
      {packed_.substr(0, packed_.size() - 1), L"no zip archive"},
      {packed_.substr(0, 1900), L"no zip archive"},
      {packed({}), L"archive"},
      {packed({{"tb000005.zdw", whole_}, {"tb000006.zdw", whole_}}), L"exactly one"},
      {packed({{"../tb000005.zdw", whole_}}), L".zdw"},
      {packed({{"tb000005.txt", whole_}}), L".zdw"},
      {packed({{"tb000005.zdw", whole_ + "x"}}), L"expected"},
      {packed({{"tb000005.zdw", whole_.substr(1) + "x"}}), L"the same"},
      {packed({{"tb000005.zdw", other}}), L"CRC-32"},
      {packed({{"tb000005.zdw", whole_}}, ZIP_CM_BZIP2), L"deflate"},
  };
  const std::wstring object = path(L"tb000005.zdw");
  for (const auto& item : cases) {
    write("tb000005.zdw", item.bytes);
    ObjectFileInfo info;
    EXPECT_EQ(workstation::readObjectHeader(object, info, error_) == ERROR_SUCCESS, item.hasHeader);
    EXPECT_EQ(workstation::verifyObject(object, error_), ERROR_INVALID_DATA) << platform::toUtf8(item.says);
    EXPECT_NE(error_.find(item.says), std::wstring::npos) << platform::toUtf8(error_);
    EXPECT_NE(error_.find(L"tb000005.zdw: "), std::wstring::npos);
    EXPECT_EQ(read("tb000005.zdw"), item.bytes);
  }
}

TEST_F(CompressedContent, NoDamagedByteGivesAnotherContent) {
  for (std::size_t i = 24; i < packed_.size(); i += 7) {
    std::string damaged = packed_;
    damaged[i] = static_cast<char>(damaged[i] ^ 0x41);
    write("tb000005.zdw", damaged);
    write("out", "what stood there");
    const bool done = exported() == ERROR_SUCCESS;
    ASSERT_EQ(read("out"), done ? content_ : "what stood there") << "byte " << i;
  }
}

}  // namespace

// A workstation with an open cloud project, whose cloud is the fake one from then on.
#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "host/Headers.h"
#include "host/Project.h"
#include "host/System.h"
#include "tests/support/FakeCloud.h"
#include "tests/support/TestWorkstation.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/store/StoredHeader.h"
#include "zephor/FileTransfer.h"
#include "zephor/Workgroup.h"

namespace zephor_test {

class CloudFixture : public testing::Test {
 protected:
  explicit CloudFixture(const TestWorkstationOptions& options = {})
      : desk(options), uuid(desk.createTeamAndProject(L"House")) {
    std::wstring host;
    std::wstring directory;
    const PRJ active = prj();
    Quorvel::FileAccess::WGO_FullInitWorkgroup(active.host, active.GetDirectoryName(), host, directory);
  }

  PRJ prj() const { return get_ActivePrj(); }
  /// A project that is not in the cloud.
  static PRJ localPrj() { return {}; }
  std::wstring path(const std::wstring& name) const { return desk.projectPath(name); }
  /// Makes an object file of the open project, with version 1.
  std::wstring makeObject(QuorvelFileType type, int number) {
    std::wstring made;
    std::wstring error;
    const DWORD result =
        ::workstation::createObject(desk.projectPath(), type, number, L"An object", L"", {1, L"Ada"}, made, error);
    EXPECT_EQ(result, 0U) << platform::toUtf8(error);
    return made;
  }
  template <typename Header>
  static Header header(int number, std::uint32_t version, double guid = 1.5) {
    Header made = clearedHeader<Header>();
    made.number = number;
    made.versionCounter = version;
    made.guidFirst = guid;
    return made;
  }
  /// Lets the cloud keep a header beside a file.
  template <typename Header>
  void storeHeader(const std::wstring& name, const Header& kept) {
    const std::vector<std::uint8_t> image = ::workstation::storedImage(kept);
    HeaderBits bits(image.size() * 8);
    for (std::size_t bit = 0; bit < bits.size(); ++bit) bits[bit] = ((image[bit / 8] >> (bit % 8)) & 1U) != 0;
    cloud.headers[name] = bits;
  }
  ::workstation::ScriptedInterface& ui() { return desk.ui(); }

  TestWorkstation desk;
  std::wstring uuid;
  FakeCloud cloud;
};

}  // namespace zephor_test

// A store with five people, a team and a project, in a temporary directory.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/Records.h"
#include "tests/support/TemporaryDirectory.h"
#include "workstation/store/CloudStore.h"

namespace zephor_test {

class StoreWorld {
 public:
  StoreWorld();

  /// Opens the store anew; the test fails when it does not open.
  std::shared_ptr<workstation::CloudStore> open() const;
  workstation::StoreActor at(const workstation::StoreActor& person, const std::wstring& workstation) const;
  /// Writes a local file below "local" and answers its library path.
  std::wstring local(const std::string& name, const std::string& content) const;
  /// Puts one file with this content.
  CloudStatus put(workstation::CloudStore& store, const workstation::StoreActor& actor, const std::wstring& name,
                  const std::string& content) const;
  /// Content of a stored file, or "<status>".
  std::string get(workstation::CloudStore& store, const workstation::StoreActor& actor, const std::wstring& name) const;

  TemporaryDirectory directory;
  std::string storePath;
  workstation::StoreActor owner;
  workstation::StoreActor admin;
  workstation::StoreActor editor;
  workstation::StoreActor viewer;
  workstation::StoreActor stranger;
  std::wstring team;
  std::wstring project;
};

TeilbildHeader teilbildHeader(int number, std::uint32_t version, const std::u16string& name);

}  // namespace zephor_test

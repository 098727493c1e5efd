// A workstation of its own for one test, in a directory that goes with it: settings, data, trash, a cloud store and a
// scripted user. With a project it takes two lines:
//
//   zephor_test::TestWorkstation workstation;
//   workstation.createTeamAndProject(L"House");
//
// The host keeps one workstation a process, so one of these at a time, on the main thread. What fails in the set-up
// throws std::runtime_error with the host's own text, which fails the test.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/TemporaryDirectory.h"
#include "workstation/store/CloudStore.h"
#include "workstation/ui/ScriptedInterface.h"

namespace zephor_test {

struct TestWorkstationOptions {
  /// Without one the workstation is offline.
  bool withStore = true;
  /// Directory of a store that is already there; empty: a fresh one of this workstation.
  std::string storeDirectory{};
  std::string language = "en";
  /// As in a batch run: the host forbids any dialog.
  bool deny = false;
  int traceLevel = 0;
};

class TestWorkstation {
 public:
  explicit TestWorkstation(const TestWorkstationOptions& options = {});
  ~TestWorkstation();
  TestWorkstation(const TestWorkstation&) = delete;
  TestWorkstation& operator=(const TestWorkstation&) = delete;

  /// Makes the team "Team" where there is none yet, and in it a project, which becomes the open one.
  /// @return its uuid
  std::wstring createTeamAndProject(const std::wstring& name);
  /// Ends the workstation and starts it again from what it wrote.
  void restart();

  /// Path of the system; everything of this test is below it.
  const std::string& directory() const { return directory_.path(); }
  /// Library path of a name in directory(), free for the test's own files.
  std::wstring path(const std::wstring& name) const;
  /// Library path of a name in the open project's directory; without a name the directory itself.
  std::wstring projectPath(const std::wstring& name = L"") const;

  // Files by library path.

  /// Writes a file, with the directories that it needs.
  void writeFile(const std::wstring& libraryPath, const std::string& bytes);
  /// Empty when there is no such file.
  std::string readFile(const std::wstring& libraryPath) const;
  bool exists(const std::wstring& libraryPath) const;

  // The user of this workstation.

  workstation::ScriptedInterface& ui() { return ui_; }
  /// The last lines of the process's error log, at most 200.
  std::vector<std::wstring> errorLines() const;
  /// True when a line of the error log holds the text.
  bool hasErrorLine(const std::wstring& part) const;

  // The store, and those who share it. Names of files are relative to the open project.

  workstation::CloudStore& store();
  /// This workstation's user.
  workstation::StoreActor actor() const;
  /// Somebody else at another workstation, a member of the open project if there is one.
  workstation::StoreActor addColleague(const std::wstring& name,
                                       workstation::StoreRole role = workstation::StoreRole::Editor);
  /// Puts a file into the store as `who` would upload it.
  void putStored(const workstation::StoreActor& who, const std::wstring& name, const std::string& bytes,
                 const std::vector<std::uint8_t>& header = {});
  /// Content of a file of the store; empty when there is none, or it can't be read.
  std::string readStored(const std::wstring& name);

 private:
  void prepareEnvironment() const;
  void begin();

  TestWorkstationOptions options_;
  TemporaryDirectory directory_;
  workstation::ScriptedInterface ui_;
  std::shared_ptr<workstation::CloudStore> store_;
  std::wstring project_;
  int scratchFiles_ = 0;
};

}  // namespace zephor_test

// The part of the transfer object that needs no network: identity, path numbers, object names, open handles.
#pragma once

#include <string>

#include "core/PathTable.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {

/// Written at initialisation and when the project changes, on the host's main thread; other threads only read.
class CZepInetFileTransfer : public IZepInetFileTransfer,
                             public IZepInetFileTransferInternal,
                             public IZepInetFileTransferLocking {
 public:
  CZepInetFileTransfer();

  bool getFileInfoFromHandle(HANDLE file, int& type, int& number, std::wstring& name) override;
  void setServerName(const wchar_t* name) override;
  const wchar_t* getServerName() override;
  DWORD setProjectName(const wchar_t* name, bool check) override;
  const wchar_t* getProjectName() override;
  const wchar_t* getPathFromNr(const int* pathNr) override;
  const wchar_t* getServerPathFromNr(const int* pathNr) override;
  void getObjectFileName(const int* objectNumber, const ObjectType* type, std::wstring& name,
                         const int* pathNr) override;

  void setConnectionType(const int* type) override;
  int getConnectionType() override;
  void setQuorvelUserID(int id) override;
  int getQuorvelUserID() override;
  void setQuorvelUserName(const wchar_t* name) override;
  const wchar_t* getUserIdText() override;
  const wchar_t* setPathFromNr(const wchar_t* path, const int* pathNr) override;
  void setCurrentName(const wchar_t* name) override;
  const wchar_t* getCurrentName() override;

 protected:
  /// True when the trace lines of this object are wanted.
  bool verbose() const { return verbose_; }

 private:
  std::wstring pathOf(int number) const;
  std::wstring localBimDirectory() const;
  std::wstring serverBimDirectory() const;
  bool projectDirectoryExists(const std::wstring& directory);
  void tracePath(const std::wstring& label, std::wstring path);

  bool verbose_;
  int connectionType_ = 0;
  std::wstring pathResult_ = kNoPathText;
  std::wstring userIdText_;
  std::wstring userName_;
  int userId_ = 0;
  std::wstring serverName_;
  std::wstring projectName_;
  PathTable paths_;
  std::wstring currentName_ = L"/";
};

}  // namespace Quorvel::FileAccess

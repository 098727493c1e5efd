// The project descriptor and what the host knows about projects: the open one, their directories, their descriptor
// files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/Export.h"
#include "platform/WindowsTypes.h"

/// The link of a project to the cloud service.
class HOST_API OndrathPrj {
 public:
  OndrathPrj() = default;
  OndrathPrj(std::wstring teamName, std::wstring teamUuid, std::wstring projectName, std::wstring projectUuid);

  const std::wstring& teamName() const { return teamName_; }
  const std::wstring& teamUuid() const { return teamUuid_; }
  const std::wstring& projectName() const { return projectName_; }
  const std::wstring& projectUuid() const { return projectUuid_; }

 private:
  std::wstring teamName_;
  std::wstring teamUuid_;
  std::wstring projectName_;
  std::wstring projectUuid_;
};

/// Project number of a project that lives on the server without a local number.
constexpr std::int32_t kRemoteOnlineProjectNumber = 9999999;

/// The descriptor of one project: a value, copied whole. The data members are read and written by the library as they
/// stand.
class HOST_API PRJ {
 public:
  PRJ();
  /// Descriptor of a cloud project.
  PRJ(const std::wstring& teamUuid, const std::wstring& teamName, const std::wstring& projectName,
      const std::wstring& projectUuid, bool cloud);

  /// Directory of the project under its root, at most 50 characters; a cloud project's UUID. The directory on the disk
  /// carries the ending ".prj" behind it.
  wchar_t directoryName[51];
  /// Server that holds the project, "ONDRATH" for a cloud project.
  wchar_t host[17];
  std::int32_t formatNumber;
  std::uint8_t mainRelease;
  std::int32_t projectNumber;
  /// Local time of creation as the C library's time.
  std::int32_t creationTime;
  std::int32_t countryNumber;
  GUID projectGuid;
  std::int32_t owner;
  /// One bit per user, least significant first; empty until the first bit is set.
  std::vector<std::uint32_t> memberSet;
  std::int32_t shareKind;
  /// User numbers of further administrators.
  std::vector<std::int32_t> additionalAdmins;
  /// Kept by the descriptor file: object files are stored compressed; the project is a link to another owner's.
  bool compressed;
  bool link;
  /// Name shown for a project that is not in the cloud; empty shows the directory name.
  std::wstring shownName;

  const wchar_t* GetDirectoryName() const;
  const wchar_t* GetProjectName() const;
  std::wstring GetProjectDisplayName() const;
  /// Absolute directory of the project, without a backslash at its end.
  /// @param resolved  true: as make_prj_dir gives it; false: the same without asking whether the host is known
  std::wstring GetFullProjectPath(bool resolved) const;
  bool IsOndrathProject() const;
  bool IsOnlineProject() const;
  bool IsRemoteOnlineProject() const;
  bool IsCompressedProject() const;
  bool IsProjectLink() const;
  std::wstring GetOndrathProjectUuid() const;
  GUID GetOndrathProjectGuid() const;
  std::wstring GetOndrathProjectName() const;
  std::wstring GetOndrathTeamUuid() const;
  std::wstring GetOndrathTeamName() const;
  void SetOndrathProject(const OndrathPrj& link);
  void clear();

  bool isMember(unsigned bit) const;
  /// Sets a bit; the set is allocated on first use for all user containers. A bit outside it is ignored.
  void setMember(unsigned bit);

 private:
  OndrathPrj cloud_;
};

/// The host's record of the project that was open last.
struct LastProjectInfo {
  std::wstring host;
  std::wstring directoryName;
  std::wstring projectName;
  int projectNumber = 0;
  std::wstring userName;
  std::int32_t object = 0;
  std::int32_t view = 0;
  std::int32_t flags = 0;
};

/// The open project: a copy of its descriptor; a cleared one when none is open.
HOST_API PRJ get_ActivePrj();
HOST_API void set_ActivePrj(const PRJ& prj);
HOST_API PRJ get_ActiveProject();
/// UUID of the resource container that the open project takes its standard resources from; empty, or the nil GUID's
/// text, when it takes them from the workstation.
HOST_API std::wstring get_ActivePrjCorUuid();
/// Directory of the open project without a backslash at its end; empty when none is open.
HOST_API std::wstring get_ActPrjPath();
HOST_API int get_ActPrjNumber();
/// Number of the project that is open in the core, above 0 when its database is open there; -1 if none.
HOST_API int kgunit();

/// Reads the descriptor of a project by host and name. @return 0, or an error code
HOST_API int get_project_info(const std::wstring& host, const std::wstring& name, PRJ& out, int kind, int flags);
HOST_API int put_project_info(const PRJ& prj);
/// Local directory of a project, without a backslash at its end; it need not exist. @return 0, or an error code
HOST_API int make_prj_dir(const PRJ& prj, std::wstring& out);
/// Descriptor below host path `pathNumber`, or in a directory: the file "Project1.Dat.xml". @return 0, or an error code
HOST_API int NetID_ReadPrjInfo(int pathNumber, PRJ& out);
HOST_API int NetID_ReadPrjInfoByPath(const std::wstring& directory, PRJ& out);
HOST_API int NetID_WritePrjInfo(int pathNumber, const PRJ& prj, int flags);
HOST_API int NetID_WritePrjInfoByPath(const std::wstring& directory, const PRJ& prj, int flags);

/// Non-zero when the host's project list knows the name.
HOST_API int ltbispC(const std::wstring& project);
/// Directory and name of the current project of the list. @return 0, or an error code
HOST_API int ltbgetC(std::wstring& directory, std::wstring& name, int flags);
HOST_API int ltbpcrC(const PRJ& prj);
/// Records a change in the open project's directory for the next synchronisation.
/// @param action  1 added, 2 removed, 3 modified, 4 renamed from, 5 renamed to
HOST_API void ltbproC_updateDirChanges(const std::wstring& path, unsigned long action);
HOST_API bool projectExistsEx(const std::wstring& host, const std::wstring& name);
HOST_API void Prj_RemoveEntryFromRecentListByName(const std::wstring& directoryName, const std::wstring& host);
HOST_API bool isSingleFileProjectTempClosed();

/// Opens a project read-only for the project database. @return a handle, -1 on failure
class ZP_Header_Project;
HOST_API int tempProjectOpen(const ZP_Header_Project& header);
HOST_API void tempProjectClose(int handle);

/// What tempProjectOpen takes: the descriptor of the project to open.
class HOST_API ZP_Header_Project {
 public:
  void SetInfo(const PRJ& prj) { info_ = prj; }
  const PRJ& GetInfo() const { return info_; }

 private:
  PRJ info_;
};

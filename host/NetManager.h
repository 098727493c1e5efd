// Reading and changing "Project1.Dat.xml" in any directory, and directories of the user.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/Export.h"

class PRJ;

class HOST_API NetManager {
 public:
  /// The content of one descriptor file, kept whole: what the setters do not touch is written back as it was read.
  class HOST_API projectInfo {
   public:
    projectInfo();
    ~projectInfo();
    projectInfo(const projectInfo&);
    projectInfo& operator=(const projectInfo&);

    std::wstring name() const;
    std::wstring host() const;
    std::wstring uuid() const;
    std::int32_t owner() const;
    void modifyName(const std::wstring& name);
    void modifyHost(const std::wstring& host);
    void modifyUUID(const std::wstring& uuid);
    void modifyOwner(std::int32_t owner);
    void modifyAccess(std::int32_t access);
    void modifyWorkgroupID(std::int32_t id);
    void modifyWorkgroupManager(bool manager);
    void fromDescriptor(const PRJ& prj);
    void toDescriptor(PRJ& prj) const;

   private:
    friend class NetManager;
    struct Document;
    std::unique_ptr<Document> document_;
  };

  /// @param error  receives what is wrong, with file and place, when the answer is false
  static bool readProject1DatXml(const std::wstring& file, projectInfo& out, std::wstring* error = nullptr);
  /// The file is replaced whole or not at all.
  static bool writeProject1DatXml(const std::wstring& file, const projectInfo& info, std::wstring* error = nullptr);
  /// The user's application data directory, without a backslash at its end.
  static std::wstring getUserAppDataPath();
  /// True when the directory does not exist afterwards.
  static bool removeDirectory(const std::wstring& directory);
  /// Names (without directory) of the files of a directory that end in `extension`; all files when it is empty.
  static std::vector<std::wstring> getFilesList(const std::wstring& directory, const std::wstring& extension);
  static std::int32_t getProjectLinkOwner(const PRJ& prj);
};

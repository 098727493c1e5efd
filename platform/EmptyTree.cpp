#include "platform/EmptyTree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/Attributes.h"
#include "platform/Descriptor.h"
#include "platform/DirectoryStream.h"
#include "platform/FileSharing.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace platform {
namespace {

using MayRemove = std::function<bool(const std::wstring&)>;

Descriptor openBelow(int directory, const char* name) {
  return Descriptor(::openat(directory, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/// Opens a directory of the tree, one name after the other. @return none where one of them is missing, or a link
Descriptor openAt(int root, const std::string& relative) {
  Descriptor directory = openBelow(root, ".");
  for (std::size_t begin = 0; directory && begin < relative.size();) {
    const std::size_t end = std::min(relative.find('/', begin), relative.size());
    directory = openBelow(directory.get(), relative.substr(begin, end - begin).c_str());
    begin = end + 1;
  }
  return directory;
}

void removeFiles(Descriptor directory, const std::string& path, const MayRemove& mayRemove) {
  DirectoryStream stream(std::move(directory));
  while (const char* entry = stream ? stream.next() : nullptr) {
    const std::wstring name = fromUtf8(entry);
    EntryStatus status;
    if (toUtf8(name) != entry || name.find(L'\\') != std::wstring::npos || !mayRemove(name)) continue;
    if (readStatus(stream.descriptor(), entry, path + '/' + entry, status) != 0) continue;
    const bool isFile = S_ISREG(status.mode) || S_ISLNK(status.mode);
    if (!isFile || (status.isReadOnly() && !status.isLink())) continue;
    if (!isDeletingDenied(stream.descriptor(), entry)) ::unlinkat(stream.descriptor(), entry, 0);
  }
}

void removeDirectory(int root, const std::string& relative, const std::string& path) {
  const std::size_t split = relative.rfind('/');
  const bool isDeep = split != std::string::npos;
  const Descriptor parent = openAt(root, isDeep ? relative.substr(0, split) : std::string());
  const std::string name = isDeep ? relative.substr(split + 1) : relative;
  EntryStatus status;
  if (!parent || readStatus(parent.get(), name.c_str(), path, status) != 0) return;
  if (!status.isDirectory() || (status.isReadOnly() && !status.isLink())) return;
  ::unlinkat(parent.get(), name.c_str(), status.isLink() ? 0 : AT_REMOVEDIR);
}

}  // namespace

void emptyDirectories(const std::wstring& root, const std::vector<std::wstring>& directories,
                      const MayRemove& mayRemove) {
  const std::string path = systemPath(root);
  const Descriptor held = path.empty() ? Descriptor() : openBelow(AT_FDCWD, path.c_str());
  if (!held) return;
  for (const std::wstring& directory : directories) {
    std::string relative = toUtf8(directory);
    std::replace(relative.begin(), relative.end(), '\\', '/');
    std::string place = path + '/';
    place += relative;
    if (Descriptor open = openAt(held.get(), relative)) removeFiles(std::move(open), place, mayRemove);
    if (!relative.empty()) removeDirectory(held.get(), relative, place);
  }
}

}  // namespace platform

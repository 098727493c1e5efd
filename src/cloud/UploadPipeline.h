// Sending a batch of changed files of a cloud project: sorted by kind, Teilbilder compressed, each object with its
// header.
//
// Other files go first, then Teilbilder, then Plans; a group that fails ends the upload. Any thread: two batches may be
// under way at once on different files.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "host/Cloud.h"
#include "host/Records.h"
#include "zephor/DirectoryChanges.h"

class PRJ;

namespace Quorvel::FileAccess::Threading {

/// One object of a batch.
struct NumberedFile {
  QuorvFileInfo info;  ///< its name is relative to the base directory
  int number = 0;
};
using NumberedFiles = std::map<int, NumberedFile>;

/// Sends a batch that lies in the project's directory.
/// @param newFiles  by position in `batch`: the flag that goes with the file
/// @return the status; 0 for an empty batch; 87 when the project is not in the cloud or the files are not in its
///         directory, of which then none is sent
CloudStatus Ondrath_UploadFreeFiles(const PRJ& prj, const std::vector<WGO_FileCompareInfo>& batch,
                                    const std::vector<bool>& newFiles, const CloudTransferOptions& options);

/// @param baseDirectory  the project's directory; ends with its separator and is `baseLength` characters long
/// @param rereadHeaders  where headers that no open database holds are read from: host path 1, otherwise 29
/// @return 0, or the status of the first group that failed; 87, and nothing is sent, when a file lies elsewhere
CloudStatus UploadAsync(const std::vector<WGO_FileCompareInfo>& batch, const std::vector<bool>& newFiles,
                        const std::wstring& project, const std::wstring& baseDirectory, std::size_t baseLength,
                        bool rereadHeaders, const CloudTransferOptions& options);

// The steps of UploadAsync.

/// Sorts by kind. An object whose lock this user does not hold is refused with a box, unless locking is suspended or a
/// data conversion runs. Of two files with one number one is kept: the one in the base directory itself, else the
/// first.
/// @param baseLength  at most the length of each path
void getTypeSortedFileMaps(std::size_t baseLength, const std::vector<WGO_FileCompareInfo>& batch,
                           const std::vector<bool>& newFiles, NumberedFiles& teilbilder, NumberedFiles& plans,
                           std::vector<QuorvFileInfo>& others);
/// Compresses in place. One whose header can't be read is not touched, and what can't be compressed stays in the batch;
/// the log tells of both. @return 0
CloudStatus zipTBsForUpload(const NumberedFiles& teilbilder, const std::wstring& baseDirectory);

/// Files with their headers; `infos` point into `headers`, and only as long as those stay where they are.
template <typename Header>
struct FilesWithHeaders {
  std::vector<Header> headers;
  std::vector<QuorvFileInfo> infos;  ///< named by their full path
};
/// Reads the headers, from the open project's database when the base directory is that project's, otherwise from the
/// files; a file without one stays out, with a line in the log. A file that the host holds open gets its handle.
void getQuorvelTBInfos(const std::wstring& baseDirectory, const NumberedFiles& teilbilder,
                       FilesWithHeaders<TeilbildHeader>& out, bool rereadHeaders);
void getQuorvelPLInfos(const std::wstring& baseDirectory, const NumberedFiles& plans, FilesWithHeaders<PlanHeader>& out,
                       bool rereadHeaders);

}  // namespace Quorvel::FileAccess::Threading

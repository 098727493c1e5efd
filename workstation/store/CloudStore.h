// The embedded cloud store: a directory that holds teams, projects, files with their headers, and locks, shared by all
// processes that open it.
//
// Records live in an SQLite database, bodies in files named by their SHA-256. A file appears to others whole and
// together with its header, or not at all; what was answered 0 survives a crash of the process and of the machine.
// Every operation takes the actor and checks their role: who is no member of a project gets nothing of it, as if it did
// not exist.
//
// All operations may be called from several threads and processes at once. Each answers a status of StoreStatus.h and
// leaves, when it fails, a text in lastText() of the calling thread.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/Cloud.h"
#include "platform/WindowsTypes.h"
#include "workstation/Export.h"
#include "workstation/store/CacheRecord.h"
#include "workstation/store/StoreStatus.h"

namespace workstation {

/// Who asks, and from where.
struct StoreActor {
  CloudUser user;  ///< looked up by its uuid alone
  std::wstring workstationName;
  std::wstring workstationId;  ///< tells two workstations of one user apart
};

/// Roles in a team and in a project; a smaller number may do more. In a team an editor may found projects.
enum class StoreRole : int { None = 0, Owner = 1, Admin = 2, Editor = 3, Viewer = 4 };

struct StoreTeam {
  std::wstring uuid;
  std::wstring name;
  StoreRole role = StoreRole::None;  ///< of the actor; None for one who is only in a project of the team
};

struct StoreProject {
  std::wstring uuid;
  std::wstring name;
  std::wstring teamUuid;
  std::wstring teamName;
  std::wstring ownerName;
  StoreRole role = StoreRole::None;  ///< of the actor
  bool archived = false;
  /// Grows with each upload, deletion and notification in the project.
  std::int64_t changeCounter = 0;
};

struct StoreMember {
  CloudUser user;
  StoreRole role = StoreRole::None;
  int number = 0;  ///< small number in the project, see CloudStore::memberNumber; 0 in a team
};

/// The one holder of an object.
struct ObjectLock {
  int objectType = 0;  ///< QuorvelFileType
  int number = 0;
  CloudUser holder;
  int memberNumber = 0;
  std::wstring workstationName;
  std::wstring workstationId;
  FILETIME since{};
};

/// One process that has a project open.
struct OpenSession {
  std::wstring userUuid;
  std::wstring workstationName;
  FILETIME since{};
};

/// Who changes a container now.
struct ContainerLock {
  CloudUser holder;
  std::wstring workstationName;
  std::wstring workstationId;
  FILETIME since{};
};

/// A resource container of a team.
struct StoreContainer {
  std::wstring uuid;
  std::wstring name;
  std::wstring teamUuid;
  std::wstring teamName;
  StoreRole role = StoreRole::None;  ///< of the actor in the team
  std::int64_t revision = 0;         ///< grows with each commit
  std::int64_t files = 0;
  std::int64_t bytes = 0;
  FILETIME changed{};        ///< time of the last commit
  std::wstring changerName;  ///< who committed
  std::optional<ContainerLock> lock;
};

struct ContainerFile {
  std::wstring name;  ///< with backslashes
  std::string key;    ///< name in lower case, UTF-8
  std::int64_t size = 0;
  FILETIME modified{};
  std::int64_t revision = 0;  ///< of the container when the file was last changed
  std::string sha256;
};

/// One file of a commit.
struct ContainerFileChange {
  std::wstring name;
  std::wstring path;                  ///< library path of the source; empty for a deletion
  std::int64_t expectedRevision = 0;  ///< that the store must have of it, 0 for none
};

/// Classes of stored files; the values are those of ShareFileTypeID.
enum class FileClass : int { Resource = 0, Ordinary = 1, Teilbild = 2, Plan = 3, Bim = 4 };
constexpr unsigned classBit(FileClass value) {
  return 1U << static_cast<unsigned>(value);
}
constexpr unsigned kAllClasses = 0x1F;

struct StoredFile {
  std::wstring name;  ///< with backslashes, letter case of the last upload
  FileClass fileClass = FileClass::Ordinary;
  std::wstring uuid;  ///< of the file, the same for all its revisions
  std::int64_t size = 0;
  FILETIME created{};
  FILETIME modified{};  ///< write time of the uploaded file, exact
  FILETIME uploaded{};
  std::wstring uploaderUuid;
  std::wstring uploaderName;
  std::int64_t revision = 0;  ///< grows by one with each upload and deletion
  std::string sha256;         ///< 64 lower-case hexadecimal digits; empty for a deleted file
};

/// A stored file as a comparison with a disk needs it.
struct ListedFile {
  StoredFile file;
  std::string key;                   ///< name in lower case, UTF-8
  std::vector<std::uint8_t> header;  ///< stored image, empty for none
};

/// One file of a group to put.
struct FilePut {
  std::wstring name;  ///< relative to the project
  /// Open handle of the file `path`, to read through; its position is restored. Any other: read by `path`.
  HANDLE handle = nullptr;
  std::wstring path;                 ///< library path of the source
  std::vector<std::uint8_t> header;  ///< stored image, empty for none
  std::vector<std::pair<std::wstring, std::wstring>> metadata;
  /// The revision that the store must have, 0 for none (or a deleted file): otherwise kStoreChanged. Nothing: whatever.
  std::optional<std::int64_t> expectedRevision = std::nullopt;
  /// Size and time that the source must have while it is read: otherwise kStoreChanged. Not known: any.
  FileContent expectedSource = {};
  /// The actor must hold the object's lock: otherwise kStoreLocked.
  bool needsOwnLock = false;
};

struct SweepResult {
  std::uint64_t bodies = 0;
  std::uint64_t leftovers = 0;
  std::uint64_t bytes = 0;
};

/// Shows how far a group is: files done, files in all, bytes so far.
using StoreProgress = std::function<void(std::uint32_t done, std::uint32_t total, std::uint64_t bytes)>;

class WORKSTATION_API CloudStore {
 public:
  /// Makes a store in `directory` (a path of the system, UTF-8), which is created when it is missing.
  /// @return kStoreExists, and nothing is changed, when there is a store already
  static CloudStatus create(const std::string& directory, std::wstring& error);
  /// Opens a store. Null with a status and a text that names the path and what was expected when there is none, when it
  /// is of a newer version (it is left as it is), is read-only, or stays locked for longer than ten seconds.
  static std::shared_ptr<CloudStore> open(const std::string& directory, CloudStatus& status, std::wstring& error);
  ~CloudStore();
  CloudStore(const CloudStore&) = delete;
  CloudStore& operator=(const CloudStore&) = delete;

  /// Why the last failing operation of this thread failed.
  static const std::wstring& lastText();
  const std::string& directory() const;
  /// A number of the store's settings ("session_timeout_seconds"), or `otherwise`.
  std::int64_t setting(const std::string& key, std::int64_t otherwise);
  CloudStatus setSetting(const std::string& key, std::int64_t value);

  // Users. Whoever may write the directory may register.

  /// Registers a user or brings name and e-mail up to date. An empty uuid is filled with a new one.
  CloudStatus registerUser(CloudUser& user);
  /// @param text  uuid, or e-mail address in any letter case
  CloudStatus findUser(const std::wstring& text, CloudUser& user);
  CloudStatus users(std::vector<CloudUser>& out);

  // Teams.

  CloudStatus createTeam(const StoreActor& actor, const std::wstring& name, std::wstring& uuid);
  CloudStatus teams(const StoreActor& actor, std::vector<StoreTeam>& out);
  CloudStatus teamMembers(const StoreActor& actor, const std::wstring& team, std::vector<StoreMember>& out);
  /// Adds a member or changes their role; owners and admins may. `user` is a uuid or an e-mail address.
  CloudStatus addTeamMember(const StoreActor& actor, const std::wstring& team, const std::wstring& user,
                            StoreRole role);
  /// Takes a member out of the team and of all its projects. The owner stays.
  CloudStatus removeTeamMember(const StoreActor& actor, const std::wstring& team, const std::wstring& user);

  // Projects.

  CloudStatus createProject(const StoreActor& actor, const std::wstring& team, const std::wstring& name,
                            std::wstring& uuid);
  /// The actor's projects of a team (an empty text: of all teams), by name.
  CloudStatus projects(const StoreActor& actor, const std::wstring& team, bool withArchived,
                       std::vector<StoreProject>& out);
  CloudStatus project(const StoreActor& actor, const std::wstring& uuid, StoreProject& out);
  CloudStatus archiveProject(const StoreActor& actor, const std::wstring& uuid, bool archived);
  /// Owners and admins may. The files are kept for `deleted_project_days` (30) days, out of everybody's sight.
  CloudStatus deleteProject(const StoreActor& actor, const std::wstring& uuid);
  CloudStatus members(const StoreActor& actor, const std::wstring& project, std::vector<StoreMember>& out);
  /// Adds a member or changes their role; owners and admins may. A person new to the team becomes a viewer of it. The
  /// owner's role can't be changed, and nobody becomes owner.
  CloudStatus addMember(const StoreActor& actor, const std::wstring& project, const std::wstring& user, StoreRole role);
  /// Owners and admins may, and everybody for themselves; the owner stays.
  CloudStatus removeMember(const StoreActor& actor, const std::wstring& project, const std::wstring& user);
  /// Number by which the host knows a member: 2 for the owner, then 3, 4, ...; never used for another person in the
  /// project, not even after the member has left. 0 when the person never was a member.
  int memberNumber(const std::wstring& project, const std::wstring& userUuid);
  /// The reverse. @return an empty uuid for a number that nobody has
  CloudUser memberByNumber(const std::wstring& project, int number);
  /// Tells the other members that something changed.
  CloudStatus notifyChange(const StoreActor& actor, const std::wstring& project);

  /// Notes a model of a project, which is known by its display name alone; the model's uuid is new with each call.
  CloudStatus createModel(const StoreActor& actor, const std::wstring& title, int number,
                          const std::wstring& projectName, std::wstring& uuid);

  // Locks of objects: one holder each, until it is given back.

  /// Takes the lock. The holder on the same workstation gets it again; anybody else, and the holder on another
  /// workstation, is refused with kStoreLocked.
  CloudStatus lockObject(const StoreActor& actor, const std::wstring& project, int objectType, int number);
  /// Gives it back; an object without lock is success.
  CloudStatus unlockObject(const StoreActor& actor, const std::wstring& project, int objectType, int number);
  /// Takes a lock away, which its holder may from any workstation, and an owner or admin. Whoever holds the object by
  /// now in the place of `seen` keeps it (kStoreLocked); an object without lock is success.
  CloudStatus breakLock(const StoreActor& actor, const std::wstring& project, const ObjectLock& seen);
  CloudStatus lockOf(const StoreActor& actor, const std::wstring& project, int objectType, int number,
                     std::optional<ObjectLock>& out);
  CloudStatus locks(const StoreActor& actor, const std::wstring& project, std::vector<ObjectLock>& out);

  // Locks of projects. Read is shared; Write has one holder beside readers; Exclusive has one holder alone. While
  // somebody holds Write or Exclusive nobody else may put or delete files.

  CloudStatus lockProject(const StoreActor& actor, const std::wstring& project, OndrathProjectLockType kind);
  /// Takes the actor's own lock away; with `all`, which owners and admins may, everybody's.
  CloudStatus unlockProject(const StoreActor& actor, const std::wstring& project, bool all);
  CloudStatus projectLocks(const StoreActor& actor, const std::wstring& project, std::vector<LockUser>& out);

  // Sessions.

  /// Notes that the actor's process is there and has `project` (empty: none) open.
  CloudStatus beat(const StoreActor& actor, const std::string& session, const std::wstring& project,
                   const std::string& tokenSha256);
  CloudStatus endSession(const std::string& session);
  /// True when a session with a fresh heartbeat other than `session` has the project open.
  /// @param ignoreOwn  sessions of the actor on any workstation do not count
  CloudStatus isProjectInUse(const StoreActor& actor, const std::wstring& project, const std::string& session,
                             bool ignoreOwn, bool& inUse);

  /// Sessions with a fresh heartbeat that have the project open, the oldest first.
  CloudStatus openSessions(const StoreActor& actor, const std::wstring& project, std::vector<OpenSession>& out);

  // Files. Names are relative, `/` and one leading backslash are accepted; letter case does not tell names apart.

  /// Puts a group: all that can be read goes in with its header in one transaction.
  /// @param statuses  one for each file, in their order; kStoreInvalidName, kStoreInUse (changed while it was read),
  ///                  kStoreLocked (another holds the object, or nobody does), kStoreChanged, or the error of reading
  /// @param stored  when asked for: name, size, time, revision and hash of each file that went in
  /// @return the first status that is not 0; when the store itself failed nothing went in and every file carries that
  /// status
  CloudStatus putFiles(const StoreActor& actor, const std::wstring& project, const std::vector<FilePut>& files,
                       std::vector<CloudStatus>& statuses, const StoreProgress& progress = {},
                       std::vector<StoredFile>* stored = nullptr);
  /// Whether the actor may put and delete files now, by role and by locks of the project.
  CloudStatus mayChange(const StoreActor& actor, const std::wstring& project);
  CloudStatus findFile(const StoreActor& actor, const std::wstring& project, const std::wstring& name, StoredFile& out);
  /// @param classes  bits of classBit
  CloudStatus files(const StoreActor& actor, const std::wstring& project, unsigned classes,
                    std::vector<StoredFile>& out);
  /// All files with their headers, as they are at one time, by their keys in the order of bytes.
  CloudStatus listing(const StoreActor& actor, const std::wstring& project, std::vector<ListedFile>& out);
  /// The same in half the time, with what tells whether a file has changed: of `file` only size, time of modification
  /// and revision.
  CloudStatus outline(const StoreActor& actor, const std::wstring& project, std::vector<ListedFile>& out);
  CloudStatus deletedFiles(const StoreActor& actor, const std::wstring& project, unsigned classes,
                           std::vector<StoredFile>& out);
  /// Stored images by name; a file without header, or one that is not there, has an empty image.
  CloudStatus headers(const StoreActor& actor, const std::wstring& project, const std::vector<std::wstring>& names,
                      std::map<std::wstring, std::vector<std::uint8_t>>& out);
  /// All images of a class, by the names of the files.
  CloudStatus allHeaders(const StoreActor& actor, const std::wstring& project, FileClass fileClass,
                         std::map<std::wstring, std::vector<std::uint8_t>>& out);
  CloudStatus metadata(const StoreActor& actor, const std::wstring& project, const std::wstring& name,
                       std::map<std::wstring, std::wstring>& out);
  /// @param expectedRevision  as in FilePut
  CloudStatus deleteFile(const StoreActor& actor, const std::wstring& project, const std::wstring& name,
                         std::optional<std::int64_t> expectedRevision = std::nullopt);
  /// Writes a file's content to `target`, a path of the system that is created or emptied, with the stored write time.
  /// The content is checked against its hash on the way: a damaged body gives kStoreInvalidData, and nothing is left at
  /// `target`.
  CloudStatus copyOut(const StoreActor& actor, const std::wstring& project, const std::wstring& name,
                      const std::string& target, StoredFile& out);

  // Resource containers. Members of a team see its containers, editors change them, administrators make and delete
  // them.

  CloudStatus createContainer(const StoreActor& actor, const std::wstring& team, const std::wstring& name,
                              std::wstring& uuid);
  /// Refused while it is locked elsewhere. The files are kept for `deleted_project_days`, out of everybody's sight.
  CloudStatus deleteContainer(const StoreActor& actor, const std::wstring& uuid);
  /// The containers of all teams of the actor, by team and name.
  CloudStatus containers(const StoreActor& actor, std::vector<StoreContainer>& out);
  CloudStatus container(const StoreActor& actor, const std::wstring& uuid, StoreContainer& out);
  /// A container with its files, as they are at one time, by their keys in the order of bytes.
  CloudStatus containerFiles(const StoreActor& actor, const std::wstring& uuid, StoreContainer& container,
                             std::vector<ContainerFile>& files);

  /// Takes the one lock. The holder on the same workstation gets it again; anybody else is refused with kStoreLocked.
  CloudStatus lockContainer(const StoreActor& actor, const std::wstring& uuid);
  /// Gives it back; a container without lock is success. With `force` the holder, from any workstation, and an owner or
  /// admin of the team take it away.
  CloudStatus unlockContainer(const StoreActor& actor, const std::wstring& uuid, bool force = false);
  /// The containers whose lock the actor holds from this workstation, the last one first.
  CloudStatus heldContainers(const StoreActor& actor, std::vector<std::wstring>& out);

  /// Changes a container in one transaction, all or nothing. Needs the actor's lock (otherwise kStoreLocked), but for
  /// the first commit of a container that nobody holds. kStoreChanged names the first file that is not of the revision
  /// that was expected.
  /// @param revision  of the container afterwards
  /// @param announce  called before the transaction with what was read of each change, none for a deletion; may throw
  ///                  StoreError
  CloudStatus commitContainer(const StoreActor& actor, const std::wstring& uuid,
                              const std::vector<ContainerFileChange>& changes, std::int64_t& revision,
                              const std::function<void(const std::vector<FileContent>&)>& announce,
                              const StoreProgress& progress = {});
  /// As copyOut, for a content that a listing of the container has told.
  /// @return kStoreChanged when the store does not have that content any more
  CloudStatus copyContainerFile(const ContainerFile& file, const std::string& target);

  /// One subscription for each user and workstation; it takes the place of the one before.
  CloudStatus subscribeContainer(const StoreActor& actor, const std::wstring& uuid);
  CloudStatus unsubscribeContainer(const StoreActor& actor);

  /// Removes bodies that no file refers to and leftovers of broken uploads, both when older than an hour, and the
  /// records of projects and containers deleted long ago.
  CloudStatus sweep(SweepResult& result);
  /// Sweeps unless some process did so less than a day ago. Takes its time; a failure is tried again the next day.
  void sweepDaily();

 private:
  struct Impl;
  explicit CloudStore(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

/// Relative name as the store keeps it: one leading backslash cut, `/` as backslash.
/// @return false for a name that could leave the project or that not every workstation can hold
WORKSTATION_API bool normaliseStoreName(const std::wstring& given, std::wstring& name);
/// Class of a file by its (normalised) name.
WORKSTATION_API FileClass classOfName(const std::wstring& name);
/// "21.11.2026 18:04:05", UTC; empty for a time that has no date.
WORKSTATION_API std::wstring storeDateText(const FILETIME& time);

}  // namespace workstation

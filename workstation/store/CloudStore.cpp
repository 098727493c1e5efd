// Making and opening a store, its settings and its users.
#include "workstation/store/CloudStore.h"

#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/JournalMode.h"
#include "workstation/store/Schema.h"
#include "workstation/store/StoreImpl.h"

namespace workstation {

namespace {

constexpr std::size_t kLongestName = 200;

std::wstring& lastTextOfThread() {
  thread_local std::wstring text;
  return text;
}

std::wstring storeText(const std::string& directory) {
  return L"cloud store \"" + platform::fromUtf8(directory) + L"\"";
}

void requireStoreDirectory(const std::string& directory) {
  const auto status = diskStatus(directory + "/.");
  if (directory.empty() || !status) {
    throw StoreError{kStoreNotFound, storeText(directory) + L": there is no such directory"};
  }
  const std::string database = directory + "/store.db";
  if (!diskStatus(database) || !diskStatus(directory + "/bodies")) {
    throw StoreError{kStoreInvalidData,
                     storeText(directory) + L" is none: expected \"store.db\" and \"bodies\" in the directory"};
  }
  if (!mayWrite(directory) || !mayWrite(database) || !mayWrite(directory + "/bodies")) {
    throw StoreError{kStoreAccessDenied, storeText(directory) +
                                             L" is read-only: expected a directory in which this user may write "
                                             L"\"store.db\" and \"bodies\""};
  }
}

}  // namespace

void setLastStoreText(std::wstring text) {
  lastTextOfThread() = std::move(text);
}

const std::wstring& CloudStore::lastText() {
  return lastTextOfThread();
}

std::int64_t nowTicks() {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return ticksOf(now);
}

FILETIME timeOf(std::int64_t ticks) {
  return platform::fromTicks(static_cast<std::uint64_t>(ticks));
}

std::wstring newUuid() {
  std::string hex = randomHex(16);
  hex[12] = '4';
  hex[16] = "89ab"[static_cast<unsigned>(hex[16]) & 3U];
  for (const std::size_t dash : {20U, 16U, 12U, 8U}) hex.insert(dash, 1, '-');
  return platform::fromUtf8(hex);
}

void requireDisplayName(const std::wstring& name, const wchar_t* what) {
  bool good = !name.empty() && name.size() <= kLongestName && name.front() != L' ' && name.back() != L' ';
  for (const wchar_t c : name) good = good && c >= L' ';
  if (!good) {
    throw StoreError{kStoreInvalidName,
                     platform::formatWide(L"the %s \"%s\" is not valid: expected 1 to 200 characters, no control "
                                          L"characters, no blank at either end",
                                          what, name)};
  }
}

CloudStore::CloudStore(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
CloudStore::~CloudStore() = default;

CloudStatus CloudStore::create(const std::string& directory, std::wstring& error) {
  const CloudStatus status = answerOf([&] {
    if (directory.empty()) throw StoreError{kStoreInvalidParameter, L"a cloud store needs a directory"};
    makeDirectories(directory);
    Bodies(directory).create();
    Connection connection(directory + "/store.db", Connection::Mode::Create);
    // Set first: a crash then leaves an empty database, which the next try takes.
    if (connection.number("SELECT count(*) FROM sqlite_schema") == 0) setJournal(connection, journalModeOf(directory));
    if (!createSchema(connection)) {
      throw StoreError{kStoreExists, storeText(directory) + L" exists already"};
    }
    // Whoever may write the directory has to be able to write all of it, whatever this user's mask is.
    for (const char* name : {"/bodies", "/incoming", "/incoming/lock", "/store.db"}) {
      copyPermissions(directory, directory + name);
    }
    syncPath(directory);
  });
  if (status != kStoreOk) error = lastText();
  return status;
}

std::shared_ptr<CloudStore> CloudStore::open(const std::string& directory, CloudStatus& status, std::wstring& error) {
  std::shared_ptr<CloudStore> store;
  status = answerOf([&] {
    requireStoreDirectory(directory);
    // A store keeps the rollback journal once it has it: a machine that reaches the same directory over the network may
    // be at work in it, and would be met by the other mode unawares.
    if (journalModeOf(directory) == JournalMode::Rollback) leaveWriteAhead(directory);
    auto impl = std::make_unique<Impl>(directory);
    checkSchema(*impl->pool.take(), directory);
    store.reset(new CloudStore(std::move(impl)));  // NOLINT: the constructor is private
  });
  if (status != kStoreOk) {
    error = lastText();
    return nullptr;
  }
  return store;
}

const std::string& CloudStore::directory() const {
  return impl_->directory;
}

std::int64_t CloudStore::setting(const std::string& key, std::int64_t otherwise) {
  std::int64_t value = otherwise;
  answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    Statement statement(*lease, "SELECT value FROM meta WHERE key=?");
    statement << key;
    if (statement.row()) value = statement.number(0);
  });
  return value;
}

CloudStatus CloudStore::setSetting(const std::string& key, std::int64_t value) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    Statement statement(*lease, "INSERT OR REPLACE INTO meta(key, value) VALUES(?, ?)");
    (statement << key << value).run();
  });
}

CloudUser requireUser(Connection& connection, const std::wstring& text) {
  Statement statement(connection, "SELECT uuid, name, email FROM users WHERE uuid=?1 OR (email_key=?2 AND ?2<>'')");
  statement << text << platform::toLower(text);
  if (!statement.row()) throw StoreError{kStoreNotFound, L"no user \"" + text + L"\" is registered in the store"};
  return {statement.text(0), statement.text(1), statement.text(2)};
}

CloudStatus CloudStore::registerUser(CloudUser& user) {
  return answerOf([&] {
    requireDisplayName(user.name, L"user name");
    if (!user.email.empty()) requireDisplayName(user.email, L"e-mail address");
    CloudUser wanted = user;
    if (wanted.uuid.empty()) wanted.uuid = newUuid();
    const ConnectionPool::Lease lease = impl_->pool.take();
    WriteTransaction transaction(*lease);
    {
      Statement other(*lease, "SELECT 1 FROM users WHERE email_key=?1 AND ?1<>'' AND uuid<>?2");
      other << platform::toLower(wanted.email) << wanted.uuid;
      if (other.row()) {
        throw StoreError{kStoreExists, L"the e-mail address \"" + wanted.email + L"\" belongs to another user"};
      }
    }
    Statement put(*lease,
                  "INSERT INTO users(uuid, name, email, email_key) VALUES(?, ?, ?, ?) ON CONFLICT(uuid) DO UPDATE SET "
                  "name=excluded.name, email=excluded.email, email_key=excluded.email_key");
    (put << wanted.uuid << wanted.name << wanted.email << platform::toLower(wanted.email)).run();
    transaction.commit();
    user = wanted;
  });
}

CloudStatus CloudStore::findUser(const std::wstring& text, CloudUser& user) {
  return answerOf([&] {
    const ConnectionPool::Lease lease = impl_->pool.take();
    user = requireUser(*lease, text);
  });
}

CloudStatus CloudStore::users(std::vector<CloudUser>& out) {
  return answerOf([&] {
    out.clear();
    const ConnectionPool::Lease lease = impl_->pool.take();
    Statement statement(*lease, "SELECT uuid, name, email FROM users ORDER BY name, uuid");
    while (statement.row()) out.push_back({statement.text(0), statement.text(1), statement.text(2)});
  });
}

}  // namespace workstation

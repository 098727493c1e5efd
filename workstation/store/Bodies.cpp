#include "workstation/store/Bodies.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <array>
#include <memory>
#include <set>

#include "platform/Text.h"
#include "workstation/store/DiskFiles.h"
#include "workstation/store/StoreError.h"

namespace workstation {

namespace {

/// Stays in a core's own cache between reading, hashing and writing.
constexpr std::size_t kBlock = std::size_t{256} << 10U;
/// Up to this many bodies are synced one by one. The sync of the whole file system also waits for what others have
/// written.
constexpr std::size_t kSyncSingly = 4;

std::string hexOf(const std::uint8_t* bytes, std::size_t size) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text;
  text.reserve(size * 2);
  for (std::size_t i = 0; i < size; ++i) {
    text += kDigits[bytes[i] >> 4U];
    text += kDigits[bytes[i] & 0xFU];
  }
  return text;
}

class Sha256 {
 public:
  Sha256() : context_(EVP_MD_CTX_new(), &EVP_MD_CTX_free) {
    if (context_ == nullptr || EVP_DigestInit_ex(context_.get(), algorithm(), nullptr) != 1) fail();
  }
  void add(const void* data, std::size_t size) {
    if (EVP_DigestUpdate(context_.get(), data, size) != 1) fail();
  }
  std::string finish() {
    std::array<std::uint8_t, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    if (EVP_DigestFinal_ex(context_.get(), digest.data(), &size) != 1) fail();
    return hexOf(digest.data(), size);
  }

 private:
  /// Looked up once, and kept until the process ends.
  static const EVP_MD* algorithm() {
    static const EVP_MD* const sha256 = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return sha256;
  }
  [[noreturn]] static void fail() { throw StoreError{kStoreFailure, L"SHA-256 can't be computed"}; }
  std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context_;
};

/// One block for copying, kept by each thread that copies.
std::vector<std::uint8_t>& block() {
  thread_local std::vector<std::uint8_t> buffer(kBlock);
  return buffer;
}

/// Removes a file that did not get its name.
class Leftover {
 public:
  explicit Leftover(std::string path) : path_(std::move(path)) {}
  ~Leftover() {
    if (!path_.empty()) removeFile(path_);
  }
  Leftover(const Leftover&) = delete;
  Leftover& operator=(const Leftover&) = delete;
  void keep() { path_.clear(); }

 private:
  std::string path_;
};

}  // namespace

std::string randomHex(std::size_t bytes) {
  std::vector<std::uint8_t> random(bytes);
  if (RAND_bytes(random.data(), static_cast<int>(bytes)) != 1) {
    throw StoreError{kStoreFailure, L"the system gives no random numbers"};
  }
  return hexOf(random.data(), bytes);
}

std::string sha256Of(const std::string& text) {
  Sha256 hash;
  hash.add(text.data(), text.size());
  return hash.finish();
}

std::string sha256OfFile(const std::string& path) {
  std::optional<DiskFile> file = DiskFile::openToRead(path);
  if (!file) return {};
  Sha256 hash;
  std::vector<std::uint8_t>& buffer = block();
  while (const std::size_t got = file->read(buffer.data(), buffer.size())) hash.add(buffer.data(), got);
  return hash.finish();
}

void Bodies::create() const {
  makeDirectory(incoming());
  makeDirectory(directory_ + "/bodies");
  DiskLock::take(lockPath(), DiskLock::Kind::Shared);
}

std::string Bodies::pathOf(const std::string& sha256) const {
  return directory_ + "/bodies/" + sha256.substr(0, 2) + "/" + sha256;
}

void Bodies::makeRoomFor(const std::string& sha256) const {
  const std::string room = directory_ + "/bodies/" + sha256.substr(0, 2);
  // Whoever may write the store has to be able to write there, too, whatever this user's mask is.
  if (makeDirectory(room)) copyPermissions(directory_ + "/bodies", room);
}

PlacedBody Bodies::take(const BodySource& source) const {
  const std::string path = incoming() + "/" + randomHex(16);
  DiskFile file = DiskFile::createNew(path);
  Leftover leftover(path);
  Sha256 hash;
  PlacedBody body;
  std::vector<std::uint8_t>& buffer = block();
  while (const std::size_t got = source(buffer.data(), buffer.size())) {
    hash.add(buffer.data(), got);
    file.write(buffer.data(), got);
    body.size += got;
  }
  body.sha256 = hash.finish();
  const std::string name = pathOf(body.sha256);
  makeRoomFor(body.sha256);
  const auto present = diskStatus(name);
  if (present && (present->size != body.size || sha256OfFile(name) != body.sha256)) {
    // Damaged by a failing disk or by hand. The good content takes its place, which other files gain by, too.
    file.sync();
    renameReplacing(path, name);
    leftover.keep();
  } else if (!present) {
    // Never over a body that has come meanwhile: that one may be synced and referred to, this one is not synced yet.
    if (renameWithoutReplacing(path, name)) leftover.keep();
  }
  file.close();
  return body;
}

void Bodies::sync(const std::vector<PlacedBody>& bodies) const {
  if (bodies.size() > kSyncSingly) {
    syncFileSystem(directory_);
    return;
  }
  // A body that was there before is synced, too, and so are the directories: who made them may not have come to it yet.
  std::set<std::string> directories{directory_ + "/bodies"};
  for (const PlacedBody& body : bodies) {
    const std::string path = pathOf(body.sha256);
    syncPath(path);
    directories.insert(path.substr(0, path.rfind('/')));
  }
  for (const std::string& directory : directories) syncPath(directory);
}

bool Bodies::copyTo(const std::string& sha256, const std::string& target, const FILETIME& writeTime) const {
  std::optional<DiskFile> body = DiskFile::openToRead(pathOf(sha256));
  if (!body) return false;
  DiskFile file = DiskFile::createOrEmpty(target);
  Leftover leftover(target);
  Sha256 hash;
  std::vector<std::uint8_t>& buffer = block();
  while (const std::size_t got = body->read(buffer.data(), buffer.size())) {
    hash.add(buffer.data(), got);
    file.write(buffer.data(), got);
  }
  if (hash.finish() != sha256) {
    throw StoreError{kStoreInvalidData, L"\"" + platform::fromUtf8(pathOf(sha256)) +
                                            L"\" is damaged: its content does not have the SHA-256 of its name"};
  }
  file.setWriteTime(writeTime);
  file.close();
  leftover.keep();
  return true;
}

}  // namespace workstation

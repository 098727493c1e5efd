// Stores that the transfer object works with, for tests that hold for each of them.
//
// A store has its files below "Prj" of its root, which path number 11 names; on this side path number 3 is "local/Prj"
// of the test's directory.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "ftp/FtpConnection.h"
#include "tests/core/StartedWorkstation.h"
#include "tests/support/RealFtpServer.h"

namespace zephor_test {

/// Files are named relative to the store's "Prj".
class TransferStore {
 public:
  virtual ~TransferStore() = default;
  /// Gives the transfer object the way to this store.
  virtual void aim(Quorvel::FileAccess::CZepFtpConnection& connection) = 0;
  virtual void write(const std::string& name, const std::string& content) = 0;
  virtual std::string read(const std::string& name) const = 0;
  virtual bool exists(const std::string& name) const = 0;
  virtual void remove(const std::string& name) = 0;
  virtual void setTime(const std::string& name, std::time_t time) = 0;
  /// Path of the server of a name.
  virtual std::wstring serverPath(const std::wstring& name) const = 0;
};

struct TransferStoreKind {
  std::string name;
  std::function<std::string()> whyNot;  ///< empty when it can run here
  /// Starts a store, which may keep its files below a directory.
  std::function<std::unique_ptr<TransferStore>(const std::filesystem::path& directory)> start;
};

/// How the test library shows a kind.
inline void PrintTo(const TransferStoreKind& kind, std::ostream* out) {
  *out << kind.name;
}

TransferStoreKind directoryStore();
/// @param started  is given the server while the store lives; may be null
TransferStoreKind serverStore(const FtpServerVariant& variant, const RealFtpServerOptions& options = {},
                              RealFtpServer** started = nullptr);
/// The directory and every real server with every kind of TLS that it has.
std::vector<TransferStoreKind> allTransferStores();

/// A workstation whose transfer object is aimed at a store.
class TransferFixture : public StartedWorkstation {
 protected:
  /// Skips the test where the store can't run.
  void startStore(const TransferStoreKind& kind);

  const int* local() const { return &kLocal; }
  const int* server() const { return &kServer; }
  std::string localFile(const std::string& name) const { return read("local/Prj/" + name); }
  bool hasLocal(const std::string& name) const { return exists("local/Prj/" + name); }
  void writeLocal(const std::string& name, const std::string& content) const { write("local/Prj/" + name, content); }
  /// 100 ns units; 0 when there is no such file.
  std::uint64_t localTime(const std::wstring& name);
  std::uint64_t serverTime(const std::wstring& name);

  Quorvel::FileAccess::CZepFtpConnection& connection() { return *connection_; }
  TransferStore& store() { return *store_; }

 private:
  static constexpr int kLocal = Quorvel::FileAccess::ePrjPath;
  static constexpr int kServer = Quorvel::FileAccess::eServerPrjPath;
  std::unique_ptr<TransferStore> store_;
  std::unique_ptr<Quorvel::FileAccess::CZepFtpConnection> connection_;
};

}  // namespace zephor_test

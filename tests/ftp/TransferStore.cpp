#include "tests/ftp/TransferStore.h"

#include <chrono>
#include <fstream>
#include <utility>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace zephor_test {
namespace {

using Quorvel::FileAccess::CZepFtpConnection;
using Quorvel::FileAccess::eServerDataPath;
using Quorvel::FileAccess::RemoteConnectionType;

void setPath(CZepFtpConnection& connection, int number, const std::wstring& path) {
  connection.setPathFromNr(path.c_str(), &number);
}

class DirectoryStore final : public TransferStore {
 public:
  explicit DirectoryStore(const std::filesystem::path& directory) : root_(directory / "server") {
    std::filesystem::create_directories(root_ / "Prj");
  }

  void aim(CZepFtpConnection& connection) override {
    setPath(connection, eServerDataPath, platform::libraryPath(root_.string()));
  }
  void write(const std::string& name, const std::string& content) override {
    std::filesystem::create_directories(path(name).parent_path());
    std::ofstream(path(name), std::ios::binary) << content;
  }
  std::string read(const std::string& name) const override {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  bool exists(const std::string& name) const override { return std::filesystem::exists(path(name)); }
  void remove(const std::string& name) override { std::filesystem::remove_all(path(name)); }
  void setTime(const std::string& name, std::time_t time) override {
    std::filesystem::last_write_time(path(name),
                                     std::chrono::file_clock::from_sys(std::chrono::system_clock::from_time_t(time)));
  }
  std::wstring serverPath(const std::wstring& name) const override {
    return platform::libraryPath((root_ / "Prj").string()) + (name.empty() ? L"" : L"/" + name);
  }

 private:
  std::filesystem::path path(const std::string& name) const { return root_ / "Prj" / name; }

  std::filesystem::path root_;
};

class ServerStore final : public TransferStore {
 public:
  ServerStore(const FtpServerVariant& variant, const RealFtpServerOptions& options, RealFtpServer** started)
      : server_(variant, options) {
    server_.makeDirectory("Prj");
    if (started != nullptr) *started = &server_;
  }

  void aim(CZepFtpConnection& connection) override {
    constexpr int kOnline = 1;
    constexpr std::int32_t kSeconds = 20;
    auto& configuration = connection.remote();
    configuration.hostName = server_.host();
    configuration.userName = server_.user();
    configuration.password = server_.password();
    configuration.trustedCertificates = server_.authorityFile();
    configuration.connectTimeoutSeconds = kSeconds;
    configuration.readTimeoutSeconds = kSeconds;
    configuration.connectionType = typeOf(server_.variant().tls);
    connection.setConnectionType(&kOnline);
    setPath(connection, eServerDataPath, L"/Prj");
  }
  void write(const std::string& name, const std::string& content) override { server_.write(path(name), content); }
  std::string read(const std::string& name) const override { return server_.read(path(name)); }
  bool exists(const std::string& name) const override { return server_.exists(path(name)); }
  void remove(const std::string& name) override { std::filesystem::remove_all(server_.path(path(name))); }
  void setTime(const std::string& name, std::time_t time) override { server_.setTime(path(name), time); }
  std::wstring serverPath(const std::wstring& name) const override {
    return L"/Prj" + (name.empty() ? L"" : L"/" + name);
  }

 private:
  static RemoteConnectionType typeOf(FtpTls tls) {
    if (tls == FtpTls::Explicit) return RemoteConnectionType::FtpExplicitTls;
    return tls == FtpTls::Implicit ? RemoteConnectionType::Ftps : RemoteConnectionType::Ftp;
  }
  static std::string path(const std::string& name) { return "Prj/" + name; }

  RealFtpServer server_;
};

}  // namespace

TransferStoreKind directoryStore() {
  return {"Directory", [] { return std::string(); },
          [](const std::filesystem::path& directory) { return std::make_unique<DirectoryStore>(directory); }};
}

TransferStoreKind serverStore(const FtpServerVariant& variant, const RealFtpServerOptions& options,
                              RealFtpServer** started) {
  return {nameOf(variant), [variant] { return RealFtpServer::whyNot(variant); },
          [=](const std::filesystem::path&) { return std::make_unique<ServerStore>(variant, options, started); }};
}

std::vector<TransferStoreKind> allTransferStores() {
  std::vector<TransferStoreKind> kinds = {directoryStore()};
  for (const FtpServerVariant& variant : allFtpServers()) kinds.push_back(serverStore(variant));
  return kinds;
}

void TransferFixture::startStore(const TransferStoreKind& kind) {
  if (const std::string why = kind.whyNot(); !why.empty()) GTEST_SKIP() << why;
  start();
  store_ = kind.start(root());
  connection_ = std::make_unique<CZepFtpConnection>();
  Quorvel::FileAccess::Initialize_forIZepInetFileTransfer record;
  record.serverName = L"files";
  ASSERT_TRUE(connection_->initialize(record));
  setPath(*connection_, Quorvel::FileAccess::eLocalDataPath, path(L"local"));
  std::filesystem::create_directories(root() / "local" / "Prj");
  store_->aim(*connection_);
}

std::uint64_t TransferFixture::localTime(const std::wstring& name) {
  std::int64_t size = 0;
  FILETIME time{};
  connection_->getLocalFileSizeAndTime(size, path(L"local\\Prj\\" + name).c_str(), time);
  return platform::toTicks(time);
}

std::uint64_t TransferFixture::serverTime(const std::wstring& name) {
  std::int64_t size = 0;
  FILETIME time{};
  connection_->getServerFileSizeAndTime(&size, store_->serverPath(name).c_str(), &time);
  return platform::toTicks(time);
}

}  // namespace zephor_test

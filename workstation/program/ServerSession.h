// The transfer object aimed at one server of this workstation, for the length of one command.
//
// Path number 11 is the server's side of a transfer and path number 3 the local side. aim() moves both, so that the
// operations are given no directory of their own.
#pragma once

#include <memory>
#include <string>

#include "host/System.h"
#include "workstation/Servers.h"
#include "workstation/program/Context.h"
#include "zephor/FileTransfer.h"

namespace workstation::program {

/// What all commands of a server take.
struct ServerOptions {
  std::string name;
  std::string passwordFile;
  std::string jobs = "auto";
};

/// Finds a server of the settings, after the workstation has started. Throws CommandFailure.
ServerMap::value_type findServer(Context& context, const std::string& name);
/// Why no connection came about, as an exit code with a text.
CommandFailure connectFailure(const std::wstring& name, int reason);
/// Text of the system for an error of an operation.
std::wstring serverErrorText(unsigned long code);

class ServerSession {
 public:
  /// Starts the workstation, finds out the password and connects. Throws CommandFailure.
  ServerSession(Context& context, const ServerOptions& options);
  ~ServerSession();
  ServerSession(const ServerSession&) = delete;
  ServerSession& operator=(const ServerSession&) = delete;

  const Context& context() const { return context_; }
  const std::wstring& name() const { return server_.first; }
  bool isDirectory() const { return server_.second.isDirectory; }
  Quorvel::FileAccess::IZepInetFileTransfer& transfer() const { return transfer_; }
  Quorvel::FileAccess::IZepInetFileTransferInternal& internal() const;
  Quorvel::FileAccess::IZepInetFileTransferLocking& locking() const;

  /// Full path on the server of a path below the base directory.
  std::wstring serverPath(const std::wstring& relative) const;
  /// @param serverDirectory  below the base directory
  /// @param localDirectory   library path
  void aim(const std::wstring& serverDirectory, const std::wstring& localDirectory);
  /// Settles how many connections the transfers of this process use: as the user asks, otherwise by the round trip.
  /// Once, before the first list.
  void chooseConnections();

 private:
  struct Connections;

  void initialise(const std::string& passwordFile);
  void connect();

  Context& context_;
  const ServerMap::value_type server_;
  const std::string jobs_;
  std::wstring base_;
  std::unique_ptr<Connections> connections_;
  Quorvel::FileAccess::IZepInetFileTransfer& transfer_;
};

}  // namespace workstation::program

// A session: connected, logged in, in step with its server, and in a directory that is remembered.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "toolkit/Ftp2W.h"
#include "toolkit/FtpControl.h"
#include "toolkit/FtpFeatures.h"
#include "toolkit/FtpPassive.h"
#include "toolkit/FtpPath.h"
#include "toolkit/FtpTls.h"

namespace Quorvel::FileAccess {

class FtpDialogue;
struct FtpSettings;

class FtpSession {
 public:
  FtpSession(const FtpSettings& settings, FtpLoop& loop, FtpDialogue& dialogue);

  bool connect();
  void disconnect();
  bool isConnected();
  ConnectFailReason failReason() const { return reason_; }
  const FtpServerFacts& facts() const { return facts_; }
  std::int64_t roundTripMicroseconds() const { return roundTrip_; }

  /// In step with the server, and in the wanted directory. Every operation begins with it.
  /// @return false, noted, when the session is gone or the directory can't be reached
  bool prepare();
  /// Sends a command and takes its reply; prepare() was called. Empty when the session is gone.
  std::optional<FtpReply> exchange(std::string_view line) { return exchange(line, line); }
  /// @param shown  what the dialogue shows of a command with a secret
  std::optional<FtpReply> exchange(std::string_view line, std::string_view shown);
  /// Next reply to commands that were queued, past the one to a question sent ahead.
  std::optional<FtpReply> reply();
  /// The same where it has come already.
  std::optional<FtpReply> replyAtHand();
  bool changeDirectory(const std::string& path);
  /// True when the server has confirmed the current directory since the last change or question; once.
  bool takeConfirmed() { return std::exchange(isConfirmed_, false); }

  /// Asks for them when that has not been done. What a server without FEAT can is found out by trying.
  const FtpFeatures& features();
  /// The reply to FEAT; empty when the server refused it.
  const std::string& featureText();
  /// The server turned out not to know a command.
  void withdraw(bool FtpFeatures::*feature) { features_.*feature = false; }

  /// For the next data connection.
  std::optional<FtpDataPort> dataPort();
  std::string peerAddress() { return peerAddress_; }
  /// A transfer of a file has succeeded; in a run of them the next port is asked for at once.
  void noteTransferDone();
  /// What follows is no run of transfers.
  void endRun() { transfersInRow_ = 0; }
  /// The data connection was closed before the transfer's end. The next command brings the session in step again, so
  /// that an abort never waits for a silent server.
  /// @param repliesOwed  that the server has yet to send: the end, and the beginning if it was not read
  void abandonTransfer(int repliesOwed);

  /// REST was accepted for the next retrieve.
  void setRestart(std::uint64_t offset) {
    restart_ = offset;
    isRestartDoubtful_ = false;
  }
  /// The offset of the retrieve that begins now; empty when the session is gone.
  std::optional<std::uint64_t> takeRestart();
  /// Before anything else that moves data: takes back an offset that the server still holds.
  bool cancelRestart();
  /// A retrieve was refused: the server may still hold its offset.
  void doubtRestart() { isRestartDoubtful_ = true; }

  FtpControl& control() { return control_; }
  FtpLoop& loop() { return loop_; }
  FtpDialogue& dialogue() { return dialogue_; }
  const FtpSettings& settings() const { return settings_; }
  FtpCurrentDirectory& directory() { return directory_; }
  FtpPassive& passive() { return passive_; }
  /// Null without TLS.
  FtpTls* tls() { return tls_ ? &*tls_ : nullptr; }
  const FtpTlsSession& tlsSession() const { return tlsSession_; }

 private:
  bool open();
  bool openSocket(const std::string& host, std::uint16_t port);
  bool connectTo(const FtpEndpoint& endpoint, FtpLoop::Clock::time_point deadline);
  bool greet();
  bool authTls(const std::string& host);
  bool secure(const std::string& host);
  bool handshake();
  bool protectData();
  bool login();
  bool settle();
  bool resynchronise();
  bool isInStepAgain();
  /// Milliseconds to wait for a reply that may never come.
  std::int64_t patience() const;
  void countOwed(const FtpReply& reply);
  void takeAwaited(const FtpReply& reply);
  bool refuse(ConnectFailReason reason, std::string_view text);
  bool refuseLost(ConnectFailReason ifLost);
  std::int32_t setupTimeout() const;
  void takeFeatures(const FtpReply& reply);

  const FtpSettings& settings_;
  FtpLoop& loop_;
  FtpDialogue& dialogue_;
  FtpTlsSession tlsSession_;  // outlives the sockets, which put sessions into it
  std::optional<FtpTls> tls_;
  FtpControl control_;
  FtpPassive passive_;
  FtpCurrentDirectory directory_;
  FtpFeatures features_;
  std::string featureText_;
  bool areFeaturesAsked_ = false;
  FtpServerFacts facts_;
  ConnectFailReason reason_ = eConnect_Ok;
  std::string peerAddress_;
  std::int64_t roundTrip_ = 0;
  std::uint64_t restart_ = 0;
  bool isRestartDoubtful_ = false;
  int transfersInRow_ = 0;
  bool isConfirmed_ = false;
  bool isOutOfStep_ = false;
  int repliesOwed_ = 0;
};

}  // namespace Quorvel::FileAccess

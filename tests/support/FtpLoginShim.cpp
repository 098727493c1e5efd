// Preloaded into vsftpd, whose only logins are the machine's own: gives it one account of the test's, without any
// change to the machine. Into the other servers too where the user of the test is not root.
//
// ZEPHOR_FTP_LOGIN holds the account's name, ZEPHOR_FTP_PASSWORD its password, ZEPHOR_FTP_ROOT its home directory and
// ZEPHOR_FTP_UID its user and group number.
#include <dlfcn.h>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// The part of the PAM interface that the server uses; its headers are not needed for it.
constexpr int kSuccess = 0;
constexpr int kAuthenticationError = 7;
constexpr int kPromptWithoutEcho = 1;
struct Message {
  int style;
  const char* text;
};
struct Response {
  char* text;
  int unused;
};
struct Conversation {
  int (*ask)(int, const Message**, Response**, void*);
  void* context;
};

// Read before the server clears its environment.
struct Account {
  static std::string read(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
  }
  std::string login = read("ZEPHOR_FTP_LOGIN");
  std::string password = read("ZEPHOR_FTP_PASSWORD");
  std::string root = read("ZEPHOR_FTP_ROOT");
  uid_t uid = static_cast<uid_t>(std::atoi(read("ZEPHOR_FTP_UID").c_str()));
  std::string shell = "/bin/sh";
  passwd entry{};
};

Account& account() {
  static Account one;
  return one;
}
[[maybe_unused]] const Account& readAtStart = account();

const Conversation* conversation = nullptr;
std::string userOfSession;

passwd* entryOfAccount() {
  Account& a = account();
  a.entry = {a.login.data(), a.password.data(), a.uid, a.uid, a.login.data(), a.root.data(), a.shell.data()};
  return &a.entry;
}

}  // namespace

extern "C" {

passwd* getpwnam(const char* name) {
  if (account().login == name) return entryOfAccount();
  static auto* const next = reinterpret_cast<passwd* (*)(const char*)>(dlsym(RTLD_NEXT, "getpwnam"));
  return next(name);
}

/// Of no use, and refused, where the server is root in a world with one user.
int setgroups(std::size_t count, const gid_t* groups) {
  if (account().uid == 0) return 0;
  static auto* const next = reinterpret_cast<int (*)(std::size_t, const gid_t*)>(dlsym(RTLD_NEXT, "setgroups"));
  return next(count, groups);
}

int initgroups(const char* user, gid_t group) {
  if (account().uid == 0) return 0;
  static auto* const next = reinterpret_cast<int (*)(const char*, gid_t)>(dlsym(RTLD_NEXT, "initgroups"));
  return next(user, group);
}

int pam_start(const char* /*service*/, const char* user, const Conversation* asked, void** handle) {
  conversation = asked;
  userOfSession = user;
  *handle = &userOfSession;
  return kSuccess;
}

int pam_authenticate(void* /*handle*/, int /*flags*/) {
  const Message message{kPromptWithoutEcho, "Password: "};
  const Message* messages = &message;
  Response* response = nullptr;
  if (conversation->ask(1, &messages, &response, conversation->context) != kSuccess || response == nullptr) {
    return kAuthenticationError;
  }
  const bool right =
      userOfSession == account().login && response->text != nullptr && account().password == response->text;
  std::free(response->text);
  std::free(response);
  return right ? kSuccess : kAuthenticationError;
}

int pam_get_item(const void* /*handle*/, int /*type*/, const void** item) {
  *item = userOfSession.c_str();
  return kSuccess;
}

int pam_set_item(void* /*handle*/, int /*type*/, const void* /*item*/) {
  return kSuccess;
}
int pam_acct_mgmt(void* /*handle*/, int /*flags*/) {
  return kSuccess;
}
int pam_setcred(void* /*handle*/, int /*flags*/) {
  return kSuccess;
}
int pam_open_session(void* /*handle*/, int /*flags*/) {
  return kSuccess;
}
int pam_close_session(void* /*handle*/, int /*flags*/) {
  return kSuccess;
}
int pam_end(void* /*handle*/, int /*status*/) {
  return kSuccess;
}

}  // extern "C"

#include "workstation/desktop/Application.h"

#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QDir>
#include <QLibraryInfo>
#include <QPointer>
#include <QTranslator>
#include <clocale>
#include <string>

#include "workstation/desktop/Style.h"
#include "workstation/ui/HostInterface.h"

namespace workstation {
namespace {

/// Also finds a plugin whose own libraries are missing.
bool canLoadPlugin(const char* pattern) {
  const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + "/platforms");
  for (const QString& name : plugins.entryList({pattern}, QDir::Files)) {
    if (::dlopen(plugins.filePath(name).toLocal8Bit().constData(), RTLD_LAZY | RTLD_LOCAL) != nullptr) return true;
  }
  return false;
}

/// A connection to the X server, made with the library that the toolkit's plugin uses. It is kept until the toolkit has
/// its own: some servers begin anew when their last client goes.
class X11Connection {
 public:
  X11Connection() {
    void* const library = ::dlopen("libxcb.so.1", RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr) return;
    auto* const connect = reinterpret_cast<void* (*)(const char*, int*)>(::dlsym(library, "xcb_connect"));
    auto* const failed = reinterpret_cast<int (*)(void*)>(::dlsym(library, "xcb_connection_has_error"));
    disconnect_ = reinterpret_cast<void (*)(void*)>(::dlsym(library, "xcb_disconnect"));
    if (connect == nullptr || failed == nullptr || disconnect_ == nullptr) return;
    connection_ = connect(nullptr, nullptr);
    isUp_ = failed(connection_) == 0;
  }
  ~X11Connection() {
    if (connection_ != nullptr) disconnect_(connection_);
  }
  X11Connection(const X11Connection&) = delete;
  X11Connection& operator=(const X11Connection&) = delete;

  bool isUp() const { return isUp_; }

 private:
  void (*disconnect_)(void*) = nullptr;
  void* connection_ = nullptr;
  bool isUp_ = false;
};

bool canReachWayland(const QByteArray& display) {
  const QByteArray path = display.startsWith('/') ? display : qgetenv("XDG_RUNTIME_DIR") + '/' + display;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= static_cast<qsizetype>(sizeof address.sun_path)) return false;
  path.toStdString().copy(address.sun_path, sizeof address.sun_path - 1);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (socket < 0) return false;
  const bool isReached = ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  ::close(socket);
  return isReached;
}

/// The toolkit's name for the display to use; empty with the reason in `error`. X11 comes first: only there can a
/// program put a window into a corner.
QByteArray usableDisplay(std::unique_ptr<X11Connection>& connection, std::string& error) {
  QByteArray asked = qgetenv("QT_QPA_PLATFORM");
  if (!asked.isEmpty() && !asked.startsWith("xcb") && !asked.startsWith("wayland")) return asked;
  const QByteArray x11 = qgetenv("DISPLAY");
  const QByteArray wayland = qgetenv("WAYLAND_DISPLAY");
  if (!x11.isEmpty()) connection = std::make_unique<X11Connection>();
  if (connection && connection->isUp()) {
    if (canLoadPlugin("libqxcb.so")) return "xcb";
    error = "Qt's plugin for X11 is missing or lacks a library; install Qt 6 Gui (Debian: libqt6gui6)";
    return {};
  }
  if (!wayland.isEmpty() && canReachWayland(wayland)) {
    if (canLoadPlugin("libqwayland-*.so")) return "wayland";
    error = "Qt's plugin for Wayland is missing; install it (Debian: qt6-wayland)";
    return {};
  }
  const QByteArray name = x11.isEmpty() ? wayland : x11;
  error = name.isEmpty() ? "no display: neither DISPLAY nor WAYLAND_DISPLAY is set"
                         : "the display " + name.toStdString() + " can't be reached";
  return {};
}

}  // namespace

bool isDisplayUsable(std::string& error) {
  std::unique_ptr<X11Connection> connection;
  return !usableDisplay(connection, error).isEmpty();
}

std::unique_ptr<QApplication> makeApplication(std::string& error) {
  static QByteArray display;
  std::unique_ptr<X11Connection> connection;
  display = usableDisplay(connection, error);
  if (display.isEmpty()) return nullptr;
  static char name[] = "zephor";
  static char option[] = "-platform";
  static char* arguments[] = {name, option, nullptr, nullptr};
  static int count = 0;
  arguments[2] = display.data();
  count = 3;

  // The toolkit takes over the environment's locale, with it decimal commas and all. The work's texts keep theirs.
  const char* const current = std::setlocale(LC_ALL, nullptr);
  const std::string locale = current != nullptr ? current : "C";
  auto application = std::make_unique<QApplication>(count, arguments);
  std::setlocale(LC_ALL, locale.c_str());
  QApplication::setApplicationName("zephor");
  QApplication::setDesktopFileName("zephor");
  applyStyle(*application);
  return application;
}

void followLanguage() {
  static QPointer<QTranslator> installed;
  static std::string shown;
  if (installed && shown == language()) return;
  shown = language();
  delete installed;
  installed = new QTranslator(qApp);
  const QString file = "qtbase_" + QString::fromStdString(shown);
  if (installed->load(file, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
    QApplication::installTranslator(installed);
}

}  // namespace workstation

#include "workstation/desktop/GuiThread.h"

#include <pthread.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX signal sets

#include <QApplication>
#include <QEvent>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <system_error>
#include <utility>

#include "workstation/desktop/Application.h"

namespace workstation {
namespace {

thread_local bool isGuiThread = false;

/// The toolkit ends the process from within when the display goes away. Nothing may be taken apart then under the
/// threads that still work; what they leave is what a kill leaves.
void leaveWithoutDisplay() {
  if (!isGuiThread) return;
  std::fputs("zephor: the display is gone\n", stderr);
  std::_Exit(EXIT_FAILURE);
}

/// Signals go to the threads that did before: a thread started meanwhile takes none.
class NoSignals {
 public:
  NoSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~NoSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  NoSignals(const NoSignals&) = delete;
  NoSignals& operator=(const NoSignals&) = delete;

 private:
  sigset_t before_{};
};

/// Waits for work as long as the process lives. It does not end with the windows: the toolkit keeps objects that belong
/// to their thread, and destroys them at the end of the process.
class LastingThread {
 public:
  static LastingThread& instance() {
    static LastingThread& thread = *new LastingThread;
    return thread;
  }

  void give(std::function<void()> work) {
    {
      const std::lock_guard lock(mutex_);
      work_ = std::move(work);
    }
    given_.notify_one();
  }

 private:
  LastingThread() {
    const NoSignals noSignals;
    pthread_t thread{};
    const auto run = [](void* self) -> void* { static_cast<LastingThread*>(self)->body(); };
    const int failure = pthread_create(&thread, nullptr, run, this);
    if (failure != 0) throw std::system_error(failure, std::generic_category(), "no thread for windows");
    pthread_detach(thread);
  }

  [[noreturn]] void body() {
    isGuiThread = true;
    for (;;) {
      std::unique_lock lock(mutex_);
      given_.wait(lock, [this] { return work_ != nullptr; });
      const std::function<void()> work = std::exchange(work_, nullptr);
      lock.unlock();
      work();
    }
  }

  std::mutex mutex_;
  std::condition_variable given_;
  std::function<void()> work_;
};

struct Work final : QEvent {
  explicit Work(std::function<void()> given) : QEvent(User), run(std::move(given)) {}
  const std::function<void()> run;
};

class Receiver final : public QObject {
 public:
  bool event(QEvent* event) override {
    const auto* const work = dynamic_cast<const Work*>(event);
    if (work == nullptr) return QObject::event(event);
    work->run();
    return true;
  }
};

}  // namespace

std::unique_ptr<GuiThread> GuiThread::start(std::string& error) {
  std::unique_ptr<GuiThread> gui(new GuiThread);
  std::promise<std::string> ready;
  LastingThread::instance().give([&ready, each = gui.get()] {
    each->showWindows(ready);
    each->ended_.set_value();
  });
  error = ready.get_future().get();
  return error.empty() ? std::move(gui) : nullptr;
}

GuiThread::~GuiThread() {
  if (receiver_) post([] { QApplication::quit(); });
  ended_.get_future().wait();
}

void GuiThread::showWindows(std::promise<std::string>& ready) {
  std::string error;
  const auto application = makeApplication(error);
  if (!application) {
    ready.set_value(error);
    return;
  }
  static const bool isHeard = std::atexit(leaveWithoutDisplay) == 0;
  static_cast<void>(isHeard);
  QApplication::setQuitOnLastWindowClosed(false);
  receiver_ = std::make_unique<Receiver>();
  ready.set_value({});
  QApplication::exec();
  receiver_.reset();
}

void GuiThread::post(std::function<void()> work) {
  QCoreApplication::postEvent(receiver_.get(), new Work(std::move(work)));
}

void GuiThread::run(const std::function<void()>& work) {
  if (isGuiThread) {
    work();
    return;
  }
  std::promise<void> done;
  post([&] {
    work();
    done.set_value();
  });
  done.get_future().wait();
}

void GuiThread::show(const std::function<QDialog*()>& make, const std::function<void(int)>& ended) {
  std::promise<void> gone;
  post([&] {
    followLanguage();
    QDialog* const dialog = make();
    QObject::connect(dialog, &QDialog::finished, dialog, [&ended, dialog](int result) {
      ended(result);
      dialog->deleteLater();
    });
    QObject::connect(dialog, &QObject::destroyed, receiver_.get(), [&gone] { gone.set_value(); });
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
  });
  gone.get_future().wait();
}

}  // namespace workstation

// The thread of the windows.
#pragma once

#include <QDialog>
#include <QObject>
#include <functional>
#include <future>
#include <memory>
#include <string>

namespace workstation {

/// Its operations may be called from any thread; what they are given runs on the thread of the windows. One at a time.
class GuiThread {
 public:
  /// @return null when the display can't be used; `error` then says why
  static std::unique_ptr<GuiThread> start(std::string& error);
  /// No operation is running and none comes.
  ~GuiThread();
  GuiThread(const GuiThread&) = delete;
  GuiThread& operator=(const GuiThread&) = delete;

  /// Returns at once.
  void post(std::function<void()> work);
  /// Returns when it is done; on the thread of the windows itself it is done there and then.
  void run(const std::function<void()>& work);
  /// Shows the dialog that `make` makes, and returns when it has been ended and is gone.
  /// @param ended  reads the dialog at its end, given the result that it ended with
  void show(const std::function<QDialog*()>& make, const std::function<void(int)>& ended);

 private:
  GuiThread() = default;
  void showWindows(std::promise<std::string>& ready);

  std::unique_ptr<QObject> receiver_;  ///< belongs to the thread
  std::promise<void> ended_;
};

}  // namespace workstation

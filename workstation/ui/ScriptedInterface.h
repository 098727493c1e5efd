// A user interface without a user: answers come from a script, and everything that it was asked to show is kept.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Dialog.h"
#include "platform/UserInterface.h"
#include "workstation/Export.h"

namespace workstation {

/// From any thread. Outlives the progress windows that it makes.
class WORKSTATION_API ScriptedInterface final : public platform::IUserInterface {
 public:
  struct Box {
    std::wstring caption;
    std::wstring text;
    UINT style = 0;
    std::wstring details;
    std::wstring detailsCaption;
    int answer = 0;
    std::wstring checkBox{};
  };

  ScriptedInterface();
  ~ScriptedInterface() override;

  /// Puts an IDxxx value, with platform::kBoxChecked to tick a check box, behind those that wait. A box takes the first
  /// that waits; without one it gets its denying answer, and so it does, with a note in unusableAnswers(), when its
  /// style does not offer the answer.
  void answerWith(int answer);
  void answerWith(std::initializer_list<int> answers);
  /// Is asked for boxes for which no answer waits. It runs while no lock is held.
  void setResponder(std::function<int(const Box&)> responder);

  /// Name of the file that the next question for one gets; without it there is none.
  void answerWithFileName(std::wstring path);
  /// What the person does to the next dialog. @param person  works on the controls and answers the number of a button
  void workOnDialog(std::function<int(platform::Dialog&)> person);

  std::vector<Box> boxes() const;
  std::size_t waitingAnswers() const;
  /// Texts of the boxes that were given an answer that they do not offer.
  std::vector<std::wstring> unusableAnswers() const;

  /// One text a call: "create TITLE", "show", "range N", "position N", "text TEXT", "close".
  std::vector<std::wstring> progressCalls() const;
  /// What was to be opened, in order.
  std::vector<std::wstring> opened() const;
  int busyCursorDepth() const;

  /// As on a machine without display: no progress window can be made.
  void refuseProgressWindows(bool refuse);
  void setPixelDensity(int density);
  /// What open() answers; 33 unless set.
  void setOpenResult(int result);

  int messageBox(const platform::MessageBoxRequest& request) override;
  /// The filter goes to boxes() as its text, with the name as its caption.
  std::wstring askFileName(const platform::FileNameRequest& request) override;
  /// Without a person at it: IDCANCEL.
  int showDialog(platform::Dialog& dialog) override;
  std::unique_ptr<platform::IProgressWindow> createProgressWindow(const std::wstring& title, int width,
                                                                  int height) override;
  int pixelDensity() const override;
  void setBusyCursor(bool busy) override;
  int open(const std::wstring& target) override;

 private:
  class ProgressWindow;
  void recordProgress(std::wstring call);

  mutable std::mutex mutex_;
  std::deque<int> answers_;
  std::function<int(const Box&)> responder_;
  std::deque<std::wstring> fileNames_;
  std::deque<std::function<int(platform::Dialog&)>> people_;
  std::vector<Box> boxes_;
  std::vector<std::wstring> unusableAnswers_;
  std::vector<std::wstring> progressCalls_;
  std::vector<std::wstring> opened_;
  int busyCursorDepth_ = 0;
  bool refuseProgressWindows_ = false;
  int pixelDensity_ = 96;
  int openResult_ = 33;
};

}  // namespace workstation

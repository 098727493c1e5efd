// One message box as a window.
#pragma once

#include <QDialog>
#include <QPointer>

#include "platform/UserInterface.h"

class QBoxLayout;
class QCheckBox;
class QKeyEvent;

namespace workstation {

/// What Escape means for a style: Cancel or the only button; 0 where it means nothing.
int escapeAnswer(UINT style);
/// What the closing of the window means: as Escape, otherwise the answer that denies. Some desktops always offer it.
int closeAnswer(UINT style);
/// The answer that has the focus first, by the style's default button; the first one when there is no such button.
int defaultAnswer(UINT style);

/// Ends with the IDxxx value of its answer.
class MessageBoxWindow final : public QDialog {
 public:
  explicit MessageBoxWindow(const platform::MessageBoxRequest& request);
  bool isChecked() const;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void addButtons(QBoxLayout& row);
  void showDetails();

  const platform::MessageBoxRequest request_;
  QCheckBox* checkBox_ = nullptr;
  QPointer<QWidget> details_;
};

}  // namespace workstation

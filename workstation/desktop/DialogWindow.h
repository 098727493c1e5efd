// A dialog as a window.
#pragma once

#include <QDialog>
#include <map>

#include "platform/Dialog.h"

class QCheckBox;
class QDialogButtonBox;
class QFormLayout;
class QLabel;
class QLineEdit;

namespace workstation {

/// Ends with the number of the button, QDialog::Rejected when it is closed. Nothing of a password is left in its
/// controls.
class DialogWindow final : public QDialog {
 public:
  /// @param dialog  outlives the window; its thread waits meanwhile
  explicit DialogWindow(platform::Dialog& dialog);
  ~DialogWindow() override;

 private:
  void add(const platform::DialogControl& control, QFormLayout& form, QDialogButtonBox& buttons, QLabel*& label);
  QLineEdit* addEdit(const platform::DialogControl& control);
  void click(int id);
  void takeInput();
  /// Shows what the rules of the dialog have made of its controls.
  void refresh();

  platform::Dialog& dialog_;
  std::map<int, QLineEdit*> edits_;
  std::map<int, QCheckBox*> boxes_;
};

}  // namespace workstation

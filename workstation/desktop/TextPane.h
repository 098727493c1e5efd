// The text of a box: plain, selectable, wrapped wherever it must, scrolled when it is longer than the screen allows.
#pragma once

#include <QTextEdit>

namespace workstation {

class TextPane final : public QTextEdit {
 public:
  TextPane(const QString& text, QWidget* parent);
};

}  // namespace workstation

// The window that a box's help opens: text to read and to copy.
#pragma once

#include <QWidget>
#include <string>

namespace workstation {

/// Goes with its box, at the latest.
class DetailsWindow final : public QWidget {
 public:
  DetailsWindow(const std::wstring& text, const std::wstring& caption, QWidget& box);
};

}  // namespace workstation

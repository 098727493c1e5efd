#include "workstation/desktop/DetailsWindow.h"

#include <QPlainTextEdit>
#include <QShortcut>
#include <QStyle>
#include <QVBoxLayout>

#include "workstation/desktop/ShownTexts.h"
#include "workstation/ui/BoxButtons.h"
#include "workstation/ui/TextTable.h"
#include "workstation/ui/Texts.h"

namespace workstation {
namespace {

constexpr int kLeastWidth = 400;
constexpr int kHeight = 400;

}  // namespace

DetailsWindow::DetailsWindow(const std::wstring& text, const std::wstring& caption, QWidget& box)
    : QWidget(&box, Qt::Window) {
  setWindowTitle(titleText(caption.empty() ? plainLabel(languageText(kTextButtonHelp)) : caption));
  setAttribute(Qt::WA_DeleteOnClose);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* const view = new QPlainTextEdit(shownText(text), this);
  view->setReadOnly(true);
  view->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  view->setLineWrapMode(QPlainTextEdit::NoWrap);
  view->setFrameShape(QFrame::NoFrame);
  view->moveCursor(QTextCursor::End);
  layout->addWidget(view);
  connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, &QWidget::close);

  // Beside the box as far as its title reaches down, so that both titles are seen.
  const int title = style()->pixelMetric(QStyle::PM_TitleBarHeight);
  const QRect place = box.frameGeometry().translated(title, title);
  setGeometry(place.x(), place.y(), std::max(place.width(), kLeastWidth), kHeight);
}

}  // namespace workstation

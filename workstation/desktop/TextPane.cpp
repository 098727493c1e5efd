#include "workstation/desktop/TextPane.h"

#include <QAbstractTextDocumentLayout>
#include <QScreen>
#include <QStyle>
#include <algorithm>
#include <cmath>

namespace workstation {
namespace {

constexpr int kMostCharacters = 70;  ///< in a line

}  // namespace

TextPane::TextPane(const QString& text, QWidget* parent) : QTextEdit(parent) {
  setPlainText(text);
  setReadOnly(true);
  setFrameShape(QFrame::NoFrame);
  viewport()->setAutoFillBackground(false);
  setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setTabChangesFocus(true);
  document()->setDocumentMargin(0);

  const QSize screenSize = screen()->availableSize();
  const int widest = std::min(fontMetrics().averageCharWidth() * kMostCharacters, screenSize.width() * 2 / 3);
  int width = 0;
  for (const QString& line : text.split('\n')) width = std::max(width, fontMetrics().horizontalAdvance(line) + 2);
  width = std::min(width, widest);
  setLineWrapMode(QTextEdit::FixedPixelWidth);
  setLineWrapColumnOrWidth(width);
  const int height = static_cast<int>(std::ceil(document()->size().height()));
  const int highest = screenSize.height() * 3 / 5;
  const bool isScrolled = height > highest;
  // Reached by the keyboard only where there is something to scroll: the buttons come first.
  setFocusPolicy(isScrolled ? Qt::StrongFocus : Qt::ClickFocus);
  setVerticalScrollBarPolicy(isScrolled ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
  setFixedSize(width + (isScrolled ? style()->pixelMetric(QStyle::PM_ScrollBarExtent) : 0), std::min(height, highest));
}

}  // namespace workstation

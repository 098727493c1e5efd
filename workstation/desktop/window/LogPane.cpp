#include "workstation/desktop/window/LogPane.h"

#include <QFontDatabase>
#include <QScrollBar>
#include <QTime>
#include <utility>

namespace workstation {
namespace {

constexpr int kMostLines = 100'000;

}  // namespace

LogPane::LogPane(QWidget* parent) : QPlainTextEdit(parent) {
  setReadOnly(true);
  // Tab leads on to the next control.
  setTabChangesFocus(true);
  setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  setMaximumBlockCount(kMostLines);
  // Commands answer with tables too.
  setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
}

void LogPane::addFrame(const QString& text) {
  firstResult_.clear();
  firstMessage_.clear();
  write(Kind::Frame, QTime::currentTime().toString(QStringLiteral("HH:mm:ss  ")) + text);
}

void LogPane::add(Kind kind, const QByteArray& bytes) {
  QByteArray& rest = kind == Kind::Result ? results_ : messages_;
  rest += bytes;
  const qsizetype end = rest.lastIndexOf('\n');
  if (end < 0) return;
  write(kind, QString::fromUtf8(rest.left(end)));
  rest.remove(0, end + 1);
}

void LogPane::flush() {
  if (const QByteArray rest = std::exchange(results_, {}); !rest.isEmpty())
    write(Kind::Result, QString::fromUtf8(rest));
  if (const QByteArray rest = std::exchange(messages_, {}); !rest.isEmpty())
    write(Kind::Message, QString::fromUtf8(rest));
}

void LogPane::write(Kind kind, const QString& text) {
  QString& first = kind == Kind::Result ? firstResult_ : firstMessage_;
  if (kind != Kind::Frame && first.isEmpty()) first = text.section(QLatin1Char('\n'), 0, 0);
  QScrollBar* const bar = verticalScrollBar();
  // Who reads further up stays there.
  const bool isAtEnd = bar->value() == bar->maximum();
  QTextCharFormat format;
  if (kind == Kind::Frame) format.setFontWeight(QFont::Bold);
  if (kind == Kind::Message) format.setFontItalic(true);
  QTextCursor cursor(document());
  cursor.movePosition(QTextCursor::End);
  if (!document()->isEmpty()) cursor.insertBlock();
  cursor.insertText(text, format);
  if (isAtEnd) bar->setValue(bar->maximum());
}

}  // namespace workstation

// What the commands said, each with the line that started it and the one that tells how it ended.
#pragma once

#include <QPlainTextEdit>
#include <QTextCharFormat>
#include <cstdint>

namespace workstation {

class LogPane : public QPlainTextEdit {
  Q_OBJECT
 public:
  enum class Kind : std::uint8_t { Frame, Result, Message };

  explicit LogPane(QWidget* parent = nullptr);

  /// A line of the window's own, with the time.
  void addFrame(const QString& text);
  /// What a command wrote, wherever it was cut; each stream keeps its lines whole.
  void add(Kind kind, const QByteArray& bytes);
  /// The command has ended: what it wrote without an end of line is shown.
  void flush();
  /// The first result, or the first message, since the last frame; what a status bar tells.
  const QString& firstResult() const { return firstResult_; }
  const QString& firstMessage() const { return firstMessage_; }

 private:
  void write(Kind kind, const QString& text);

  QByteArray results_;
  QByteArray messages_;
  QString firstResult_;
  QString firstMessage_;
};

}  // namespace workstation

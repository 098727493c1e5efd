#include "workstation/desktop/ProgressWindow.h"

#include <QGuiApplication>
#include <QLabel>
#include <QProgressBar>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>
#include <vector>

#include "workstation/desktop/GuiThread.h"
#include "workstation/desktop/ShownTexts.h"

namespace workstation {
namespace {

constexpr int kSteps = 1000;
/// Bars that are up, from the corner upwards. Of the thread of the windows.
std::vector<QWidget*>& barsUp() {
  static std::vector<QWidget*> bars;
  return bars;
}

}  // namespace

/// What is to be shown, as the work reported it last.
struct ProgressWindow::State {
  std::mutex mutex;
  std::wstring text;
  std::uint32_t range = 100;
  std::uint32_t position = 0;
  bool isShown = false;
  bool isWaiting = false;  ///< a drawing is on its way
};

/// Has no frame: nothing on it is to be clicked, and it never takes the keyboard.
class ProgressWindow::Bar final : public QFrame {
 public:
  Bar(const std::wstring& title, int width, int height)
      : QFrame(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFrameShape(QFrame::StyledPanel);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 6, 10, 8);
    layout->setSpacing(4);
    label_ = new QLabel(this);
    label_->setTextFormat(Qt::PlainText);
    label_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    bar_ = new QProgressBar(this);
    bar_->setRange(0, kSteps);
    layout->addWidget(label_);
    layout->addWidget(bar_);
    setWindowTitle(titleText(title));
    setFixedSize(width, std::max(height, sizeHint().height()));
  }
  ~Bar() override { std::erase(barsUp(), this); }
  Bar(const Bar&) = delete;
  Bar& operator=(const Bar&) = delete;

  void draw(State& state) {
    std::wstring text;
    int step = 0;
    bool isShown = false;
    {
      const std::lock_guard lock(state.mutex);
      state.isWaiting = false;
      text = state.text;
      const std::uint64_t top = std::max<std::uint32_t>(state.range, 1);
      step = static_cast<int>(std::min<std::uint64_t>(state.position, top) * kSteps / top);
      isShown = state.isShown;
    }
    const QString line = titleText(text);
    label_->setText(fontMetrics().elidedText(line, Qt::ElideMiddle, width() - 2 * (10 + frameWidth())));
    bar_->setValue(step);
    if (isShown && !isVisible()) showInCorner();
  }

 private:
  void showInCorner() {
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    int bottom = area.y() + area.height();
    for (const QWidget* const bar : barsUp()) bottom = std::min(bottom, bar->y());
    if (bottom - height() < area.y()) bottom = area.y() + area.height();
    move(area.x() + area.width() - width(), bottom - height());
    barsUp().push_back(this);
    show();
  }

  QLabel* label_ = nullptr;
  QProgressBar* bar_ = nullptr;
};

ProgressWindow::ProgressWindow(GuiThread& gui, const std::wstring& title, int width, int height)
    : gui_(gui), state_(std::make_unique<State>()) {
  state_->text = title;
  gui_.run([&] { bar_ = new Bar(title, width, height); });
}

ProgressWindow::~ProgressWindow() {
  gui_.run([this] { delete bar_; });
}

template <typename Change>
void ProgressWindow::change(const Change& apply) {
  {
    const std::lock_guard lock(state_->mutex);
    apply(*state_);
    if (state_->isWaiting || !state_->isShown) return;
    state_->isWaiting = true;
  }
  // The window goes by a later order, so it still stands when this one comes.
  gui_.post([this] { bar_->draw(*state_); });
}

void ProgressWindow::show() {
  change([](State& state) { state.isShown = true; });
}

void ProgressWindow::setRange(std::uint32_t top) {
  change([top](State& state) { state.range = top; });
}

std::uint32_t ProgressWindow::range() const {
  const std::lock_guard lock(state_->mutex);
  return state_->range;
}

void ProgressWindow::setPosition(std::uint32_t position) {
  change([position](State& state) { state.position = position; });
}

void ProgressWindow::setText(const std::wstring& text) {
  change([&text](State& state) { state.text = text; });
}

}  // namespace workstation

#include "workstation/ui/ScriptedInterface.h"

#include <atomic>
#include <cstdint>
#include <utility>

#include "workstation/ui/BoxButtons.h"

namespace workstation {

class ScriptedInterface::ProgressWindow final : public platform::IProgressWindow {
 public:
  explicit ProgressWindow(ScriptedInterface& owner) : owner_(owner) {}
  ~ProgressWindow() override { owner_.recordProgress(L"close"); }

  void show() override { owner_.recordProgress(L"show"); }
  void setRange(std::uint32_t top) override {
    range_ = top;
    owner_.recordProgress(L"range " + std::to_wstring(top));
  }
  std::uint32_t range() const override { return range_; }
  void setPosition(std::uint32_t position) override { owner_.recordProgress(L"position " + std::to_wstring(position)); }
  void setText(const std::wstring& text) override { owner_.recordProgress(L"text " + text); }
  void pump() override {}

 private:
  ScriptedInterface& owner_;
  std::atomic<std::uint32_t> range_{100};
};

ScriptedInterface::ScriptedInterface() = default;
ScriptedInterface::~ScriptedInterface() = default;

void ScriptedInterface::answerWith(int answer) {
  const std::lock_guard lock(mutex_);
  answers_.push_back(answer);
}

void ScriptedInterface::answerWith(std::initializer_list<int> answers) {
  const std::lock_guard lock(mutex_);
  answers_.insert(answers_.end(), answers);
}

void ScriptedInterface::setResponder(std::function<int(const Box&)> responder) {
  const std::lock_guard lock(mutex_);
  responder_ = std::move(responder);
}

int ScriptedInterface::messageBox(const platform::MessageBoxRequest& request) {
  Box box{request.caption, request.text,           request.style,
          request.details, request.detailsCaption, platform::denyingAnswer(request.style),
          request.checkBox};
  std::function<int(const Box&)> responder;
  int answer = box.answer;
  {
    const std::lock_guard lock(mutex_);
    if (!answers_.empty()) {
      answer = answers_.front();
      answers_.pop_front();
    } else {
      responder = responder_;
    }
  }
  if (responder) answer = responder(box);

  const std::lock_guard lock(mutex_);
  const int button = request.checkBox.empty() ? answer : answer & ~platform::kBoxChecked;
  if (offersAnswer(request.style, button)) {
    box.answer = answer;
  } else {
    unusableAnswers_.push_back(box.text);
  }
  boxes_.push_back(box);
  return box.answer;
}

void ScriptedInterface::answerWithFileName(std::wstring path) {
  const std::lock_guard lock(mutex_);
  fileNames_.push_back(std::move(path));
}

std::wstring ScriptedInterface::askFileName(const platform::FileNameRequest& request) {
  const std::lock_guard lock(mutex_);
  std::wstring path;
  if (!fileNames_.empty()) {
    path = fileNames_.front();
    fileNames_.pop_front();
  }
  Box& box = boxes_.emplace_back();
  box.caption = path;
  box.text = request.filter;
  return path;
}

void ScriptedInterface::workOnDialog(std::function<int(platform::Dialog&)> person) {
  const std::lock_guard lock(mutex_);
  people_.push_back(std::move(person));
}

int ScriptedInterface::showDialog(platform::Dialog& dialog) {
  std::function<int(platform::Dialog&)> person;
  {
    const std::lock_guard lock(mutex_);
    if (people_.empty()) return IDCANCEL;
    person = std::move(people_.front());
    people_.pop_front();
  }
  return person(dialog);
}

std::vector<ScriptedInterface::Box> ScriptedInterface::boxes() const {
  const std::lock_guard lock(mutex_);
  return boxes_;
}

std::size_t ScriptedInterface::waitingAnswers() const {
  const std::lock_guard lock(mutex_);
  return answers_.size();
}

std::vector<std::wstring> ScriptedInterface::unusableAnswers() const {
  const std::lock_guard lock(mutex_);
  return unusableAnswers_;
}

std::unique_ptr<platform::IProgressWindow> ScriptedInterface::createProgressWindow(const std::wstring& title,
                                                                                   int /*width*/, int /*height*/) {
  const std::lock_guard lock(mutex_);
  if (refuseProgressWindows_) return nullptr;
  progressCalls_.push_back(L"create " + title);
  return std::make_unique<ProgressWindow>(*this);
}

void ScriptedInterface::recordProgress(std::wstring call) {
  const std::lock_guard lock(mutex_);
  progressCalls_.push_back(std::move(call));
}

std::vector<std::wstring> ScriptedInterface::progressCalls() const {
  const std::lock_guard lock(mutex_);
  return progressCalls_;
}

std::vector<std::wstring> ScriptedInterface::opened() const {
  const std::lock_guard lock(mutex_);
  return opened_;
}

int ScriptedInterface::busyCursorDepth() const {
  const std::lock_guard lock(mutex_);
  return busyCursorDepth_;
}

void ScriptedInterface::refuseProgressWindows(bool refuse) {
  const std::lock_guard lock(mutex_);
  refuseProgressWindows_ = refuse;
}

void ScriptedInterface::setPixelDensity(int density) {
  const std::lock_guard lock(mutex_);
  pixelDensity_ = density;
}

void ScriptedInterface::setOpenResult(int result) {
  const std::lock_guard lock(mutex_);
  openResult_ = result;
}

int ScriptedInterface::pixelDensity() const {
  const std::lock_guard lock(mutex_);
  return pixelDensity_;
}

void ScriptedInterface::setBusyCursor(bool busy) {
  const std::lock_guard lock(mutex_);
  busyCursorDepth_ += busy ? 1 : -1;
}

int ScriptedInterface::open(const std::wstring& target) {
  const std::lock_guard lock(mutex_);
  opened_.push_back(target);
  return openResult_;
}

}  // namespace workstation

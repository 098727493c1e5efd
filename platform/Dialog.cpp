#include "platform/Dialog.h"

#include <algorithm>
#include <stdexcept>

namespace platform {

Dialog::~Dialog() = default;

DialogControl* Dialog::find(int id) {
  const auto found = std::find_if(controls.begin(), controls.end(), [id](const auto& each) { return each.id == id; });
  return found == controls.end() ? nullptr : &*found;
}

DialogControl& Dialog::control(int id) {
  DialogControl* found = find(id);
  if (found == nullptr) throw std::out_of_range("a control of the dialog expected");
  return *found;
}

bool Dialog::type(int id, const std::wstring& text) {
  using Kind = DialogControl::Kind;
  DialogControl* edit = find(id);
  if (edit == nullptr || !edit->isEnabled || (edit->kind != Kind::Edit && edit->kind != Kind::Password)) return false;
  edit->text.assign(text, 0, edit->limit);
  return true;
}

bool Dialog::click(int id) {
  DialogControl* box = find(id);
  if (box == nullptr || !box->isEnabled || box->kind != DialogControl::Kind::CheckBox) return false;
  box->isChecked = !box->isChecked;
  clicked(id);
  return true;
}

}  // namespace platform

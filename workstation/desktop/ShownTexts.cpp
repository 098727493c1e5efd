#include "workstation/desktop/ShownTexts.h"

namespace workstation {

QString shownText(const std::wstring& text) {
  return QString::fromStdWString(text).replace("\r\n", "\n");
}

QString titleText(const std::wstring& text) {
  // The toolkit's place for the mark of a changed document.
  return QString::fromStdWString(text).simplified().replace("[*]", "[*][*]");
}

QString labelText(const std::wstring& text) {
  return QString::fromStdWString(text).replace('&', "&&");
}

QString buttonText(const std::wstring& label) {
  return labelText(label).replace('[', '&').remove(']');
}

}  // namespace workstation

#include "diagnostics/LineEnd.h"

namespace Quorvel::FileAccess::ConnectionLogger {

void cutLineEnd(std::wstring& text) {
  if (text.empty() || text.back() != L'\n') return;
  text.pop_back();
  if (!text.empty() && text.back() == L'\r') text.pop_back();
}

}  // namespace Quorvel::FileAccess::ConnectionLogger

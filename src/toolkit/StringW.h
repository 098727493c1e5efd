// The text that operations of the toolkit hand out.
#pragma once

#include <string>
#include <utility>

namespace Quorvel::FileAccess {

class CkStringW {
 public:
  CkStringW() = default;
  explicit CkStringW(std::wstring text) : text_(std::move(text)) {}

  const wchar_t* getString() const { return text_.c_str(); }
  const std::wstring& text() const { return text_; }
  void setString(std::wstring text) { text_ = std::move(text); }
  void append(const std::wstring& text) { text_ += text; }
  bool isEmpty() const { return text_.empty(); }
  void clear() { text_.clear(); }

 private:
  std::wstring text_;
};

using CkString = CkStringW;

}  // namespace Quorvel::FileAccess

#include "workstation/ui/Texts.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <utility>

#include "host/UserMessages.h"
#include "platform/Text.h"
#include "workstation/ui/HostInterface.h"
#include "workstation/ui/TextTable.h"

namespace workstation {
namespace {

enum class Language : int { English, German };

/// The first of the locale's variables that says something decides, as it does for the system's own programs.
Language languageOfEnvironment() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* const value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe)
    if (value == nullptr || *value == '\0') continue;
    return std::string_view(value).starts_with("de") ? Language::German : Language::English;
  }
  return Language::English;
}

std::atomic<Language>& currentLanguage() {
  static std::atomic<Language> current{languageOfEnvironment()};
  return current;
}

/// @return null when there is no such text
const LanguageText* find(std::span<const LanguageText> texts, int id, int part) {
  const auto position = std::lower_bound(
      texts.begin(), texts.end(), std::pair(id, part),
      [](const LanguageText& text, const std::pair<int, int>& key) { return std::pair(text.id, text.part) < key; });
  if (position == texts.end() || position->id != id || position->part != part) return nullptr;
  return &*position;
}

void trimEnd(std::wstring& text) {
  const std::size_t last = text.find_last_not_of(L" \n");
  text.resize(last == std::wstring::npos ? 0 : last + 1);
}

}  // namespace

void setLanguage(const std::string& shortCode) {
  if (shortCode == "de") {
    currentLanguage() = Language::German;
  } else if (shortCode == "en") {
    currentLanguage() = Language::English;
  } else {
    currentLanguage() = languageOfEnvironment();
  }
}

std::string language() {
  return currentLanguage() == Language::German ? "de" : "en";
}

std::wstring languageText(int id, int part) {
  const auto texts = currentLanguage() == Language::German ? germanTexts() : englishTexts();
  const LanguageText* text = find(texts, id, part);
  if (text == nullptr) text = find(texts, id, 0);
  return text != nullptr ? platform::fromUtf8(text->utf8) : L"#" + std::to_wstring(id);
}

std::wstring withParameters(std::wstring_view text, const std::vector<std::wstring>& parameters) {
  std::wstring result;
  bool missing = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const wchar_t next = text[i] == L'%' && i + 1 < text.size() ? text[i + 1] : L'\0';
    if (next == L'%') {
      result += L'%';
      ++i;
    } else if (next >= L'1' && next <= L'9') {
      const auto index = static_cast<std::size_t>(next - L'1');
      if (index < parameters.size()) result += parameters[index];
      missing = missing || index >= parameters.size() || parameters[index].empty();
      ++i;
    } else {
      result += text[i];
    }
  }
  if (missing) trimEnd(result);
  return result;
}

std::vector<std::wstring> splitParameters(std::wstring_view parameters) {
  constexpr std::wstring_view kEnds = L"\x1e\x1f";
  std::vector<std::wstring> result;
  while (!parameters.empty()) {
    const std::size_t end = std::min(parameters.find_first_of(kEnds), parameters.size());
    result.emplace_back(parameters.substr(0, end));
    parameters.remove_prefix(std::min(end + 1, parameters.size()));
  }
  while (!result.empty() && result.back().empty()) result.pop_back();
  return result;
}

}  // namespace workstation

CQuoString& CQuoString::GetQuorvotParText(int id, const wchar_t* parameters, int count, int limit) {
  const auto values = workstation::splitParameters(parameters != nullptr ? parameters : L"");
  // For a text that comes in parts the library names the part where it otherwise names the number of parameters.
  text_ = workstation::withParameters(workstation::languageText(id, count), values);
  if (limit >= 0 && text_.size() > static_cast<std::size_t>(limit)) text_.resize(static_cast<std::size_t>(limit));
  return *this;
}

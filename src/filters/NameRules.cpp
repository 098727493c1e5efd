#include "filters/NameRules.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Quorvel::FileAccess {
namespace {

/// What stands around a quoted text.
struct Shape {
  NameRule::Kind kind;
  std::wstring_view before;
  std::wstring_view behind;
};
constexpr Shape kShapes[] = {
    {NameRule::Kind::Exact, L"^\\Q", L"\\E$"},
    {NameRule::Kind::Prefix, L"^\\Q", L"\\E.*"},
    {NameRule::Kind::Suffix, L".*\\Q", L"\\E$"},
};
constexpr std::wstring_view kEndOfQuote = L"\\E";

/// True when the expression is of this shape; `text` is then what is quoted.
bool hasShape(std::wstring_view expression, const Shape& shape, std::wstring& text) {
  if (!expression.starts_with(shape.before) || !expression.ends_with(shape.behind)) return false;
  const std::size_t start = shape.before.size();
  const std::size_t end = expression.find(kEndOfQuote, start);
  if (end != expression.size() - shape.behind.size()) return false;
  text = expression.substr(start, end - start);
  return true;
}

bool isFound(const NameRule& rule, std::wstring_view name) {
  const auto kFlags = boost::match_default | boost::match_any | boost::match_single_line;
  return rule.ends.mayMatch(name) && boost::regex_search(name.begin(), name.end(), rule.expression, kFlags);
}

}  // namespace

NameRule::NameRule(std::wstring_view source) {
  for (const Shape& shape : kShapes) {
    if (!hasShape(source, shape, text)) continue;
    kind = shape.kind;
    return;
  }
  expression.assign(source.begin(), source.end());
  ends = endsOfExpression(source);
}

bool AffixSet::isBefore(std::wstring_view a, std::wstring_view b) const {
  if (side_ == Side::Begin) return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
  return std::lexicographical_compare(a.rbegin(), a.rend(), b.rbegin(), b.rend());
}

bool AffixSet::isAffix(std::wstring_view affix, std::wstring_view name) const {
  return side_ == Side::Begin ? name.starts_with(affix) : name.ends_with(affix);
}

void AffixSet::insert(std::wstring text) {
  if (hasAffixOf(text)) return;
  std::erase_if(texts_, [&](const std::wstring& other) { return isAffix(text, other); });
  const auto place = std::lower_bound(texts_.begin(), texts_.end(), text,
                                      [&](const auto& a, const auto& b) { return isBefore(a, b); });
  texts_.insert(place, std::move(text));
}

bool AffixSet::hasAffixOf(std::wstring_view name) const {
  const auto behind = std::upper_bound(texts_.begin(), texts_.end(), name,
                                       [&](std::wstring_view a, std::wstring_view b) { return isBefore(a, b); });
  return behind != texts_.begin() && isAffix(*std::prev(behind), name);
}

void NameRules::add(NameRule rule) {
  empty_ = false;
  switch (rule.kind) {
    case NameRule::Kind::Exact:
      exact_.insert(std::lower_bound(exact_.begin(), exact_.end(), rule.text), std::move(rule.text));
      return;
    case NameRule::Kind::Prefix:
      prefixes_.insert(std::move(rule.text));
      return;
    case NameRule::Kind::Suffix:
      suffixes_.insert(std::move(rule.text));
      return;
    case NameRule::Kind::Expression:
      expressions_.push_back(std::move(rule));
      return;
  }
}

bool NameRules::isEmpty() const {
  return empty_;
}

bool NameRules::match(std::wstring_view name) const {
  const auto isLess = [](std::wstring_view a, std::wstring_view b) { return a < b; };
  return std::binary_search(exact_.begin(), exact_.end(), name, isLess) || prefixes_.hasAffixOf(name) ||
         suffixes_.hasAffixOf(name) ||
         std::any_of(expressions_.begin(), expressions_.end(), [&](const auto& rule) { return isFound(rule, name); });
}

}  // namespace Quorvel::FileAccess

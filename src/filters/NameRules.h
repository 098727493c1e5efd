// One of the lists of a filter: rules that are expressions, kept in the form in which a name is tested fastest.
#pragma once

#include <boost/regex.hpp>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "filters/ExpressionEnds.h"

namespace Quorvel::FileAccess {

/// A compiled expression. The three shapes that hold nothing but a quoted text are known as what they say.
struct NameRule {
  enum class Kind : std::uint8_t { Exact, Prefix, Suffix, Expression };

  /// Throws the expression library's exception for a text that is no expression.
  explicit NameRule(std::wstring_view expression);

  Kind kind = Kind::Expression;
  std::wstring text;  ///< of every kind but Expression
  boost::wregex expression;
  ExpressionEnds ends;  ///< of an Expression
};

/// Texts none of which begins (or ends) with another, in order: at most one of them, the last that is not behind the
/// name, can begin (or end) a name.
class AffixSet {
 public:
  enum class Side : std::uint8_t { Begin, End };

  explicit AffixSet(Side side) : side_(side) {}
  void insert(std::wstring text);
  bool hasAffixOf(std::wstring_view name) const;

 private:
  bool isBefore(std::wstring_view a, std::wstring_view b) const;
  bool isAffix(std::wstring_view affix, std::wstring_view name) const;

  Side side_;
  std::vector<std::wstring> texts_;
};

/// Names are compared as they are given: rules and names come in lower case. A copy shares compiled expressions.
class NameRules {
 public:
  void add(NameRule rule);
  bool isEmpty() const;
  /// True when the search for at least one rule's expression finds something in the name. "^" and "$" hold at the ends
  /// of the whole name, not at a line feed within it.
  bool match(std::wstring_view name) const;

 private:
  std::vector<std::wstring> exact_;  ///< in order
  AffixSet prefixes_{AffixSet::Side::Begin};
  AffixSet suffixes_{AffixSet::Side::End};
  std::vector<NameRule> expressions_;
  bool empty_ = true;
};

}  // namespace Quorvel::FileAccess

// The language texts: one table a language, sorted by number and part.
#pragma once

#include <span>
#include <string>

#include "workstation/Export.h"

namespace workstation {

/// One text in UTF-8. `%1` to `%9` stand for parameters, `%%` for a percent sign. A number whose text comes in parts
/// has an entry for each part, from 1; a number with one text has part 0.
struct LanguageText {
  int id;
  int part;
  const char* utf8;
};

WORKSTATION_API std::span<const LanguageText> englishTexts();
WORKSTATION_API std::span<const LanguageText> germanTexts();

/// Numbers of the workstation's own texts, below every number that the library asks for.
enum OwnText : int {
  kTextTeilbilderNotLocked = 1,
  kTextButtonOk = 2,
  kTextButtonCancel = 3,
  kTextButtonAbort = 4,
  kTextButtonRetry = 5,
  kTextButtonIgnore = 6,
  kTextButtonYes = 7,
  kTextButtonNo = 8,
  kTextButtonHelp = 9,
  kTextAnswered = 10,
  kTextNotUnderstood = 11,
  kTextNobodyToAsk = 12,
  kTextAnsweredTooOften = 13,
};

}  // namespace workstation

#include "zephor/FileFilter.h"

#include <gtest/gtest.h>

namespace {

using namespace Quorvel::FileAccess;

struct Query {
  const wchar_t* name;
  bool file;
  bool directory;
  bool either;
};

void expectAnswers(const WGO_FileFilter& filter, std::initializer_list<Query> queries) {
  for (const Query& query : queries) {
    const std::wstring shown = query.name != nullptr ? query.name : L"(null)";
    EXPECT_EQ(filter.IsFileExcluded(query.name), query.file) << shown;
    EXPECT_EQ(filter.IsDirectoryExcluded(query.name), query.directory) << shown;
    EXPECT_EQ(filter.IsFileOrDirectoryExcluded(query.name), query.either) << shown;
  }
}

TEST(FileFilter, WithoutARuleNothingIsKeptOut) {
  WGO_FileFilter filter;
  filter.ExcludeFileExact(L"");
  filter.ExcludeFileExtension(nullptr);
  filter.ExcludeFileLeftMatch(L"");
  filter.ExcludeDirectoryExact(L"");
  filter.IncludeFileRightMatch(L"");
  filter.IncludeDirectoryExact(nullptr);
  filter.ExcludeFileType(eFileType_Unknown);
  for (const WGO_FileFilter& each : {filter, WGO_FileFilter(filter)}) {
    expectAnswers(each, {{nullptr, false, false, false}, {L"", false, false, false}, {L"a\\", false, false, false}});
  }
}

TEST(FileFilter, WhatHasNoNameIsKeptOutByAnyRule) {
  WGO_FileFilter filter;
  filter.IncludeFileExact(L"x");
  expectAnswers(filter, {{nullptr, true, true, true},
                         {L"", true, false, true},
                         {L"dir\\", false, false, true},
                         {L"dir\\a", false, false, false}});
}

TEST(FileFilter, RulesAreTextsWithoutRegardToCase) {
  WGO_FileFilter filter;
  filter.ExcludeFileExact(L"Desktop.ini");
  filter.ExcludeFileLeftMatch(L"lpauser");
  filter.ExcludeFileExtension(L".bak");
  filter.ExcludeFileRightMatch(L"\u00DCber");
  filter.ExcludeDirectoryExact(L"BIM");
  expectAnswers(filter, {{L"desktop.INI", true, false, true},
                         {L"LPAUSER.dat", true, false, true},
                         {L"sub\\lpauser.dat", false, false, true},
                         {L"x\u00FCBER", true, false, true},
                         {L"bim", false, true, true},
                         {L"Bim\\a.txt", false, false, true},
                         {L"sub\\bim\\a.txt", false, false, false},
                         {L"bim2\\a.txt", false, false, false}});
}

TEST(FileFilter, AnIncludeBeatsAnExcludeWhicheverCameFirst) {
  for (const bool includesFirst : {true, false}) {
    WGO_FileFilter filter;
    const auto include = [&] {
      filter.IncludeFileExact(L"version.txt");
      filter.IncludeFileLeftMatch(L"keep");
      filter.IncludeFileExtension(L".md.txt");
      filter.IncludeDirectoryExact(L"Docs");
    };
    if (includesFirst) include();
    filter.ExcludeFileExtension(L".txt");
    filter.ExcludeDirectoryExact(L"docs");
    filter.ExcludeDirectoryExact(L"BIM");
    if (!includesFirst) include();
    expectAnswers(filter, {{L"VERSION.txt", false, false, false},
                           {L"other.txt", true, false, true},
                           {L"keep.txt", false, false, false},
                           {L"a.md.txt", false, false, false},
                           {L"docs", false, false, false},
                           // An included directory lets a path through, but not its file asked by itself.
                           {L"DOCS\\other.txt", false, false, true},
                           {L"sub\\docs\\other.txt", true, false, true},
                           {L"\\docs\\other.txt", true, false, true},
                           // An included file stands in an excluded directory all the same.
                           {L"bim\\version.txt", true, false, true},
                           {L"bim\\keep.txt", true, false, true}});
  }
}

}  // namespace

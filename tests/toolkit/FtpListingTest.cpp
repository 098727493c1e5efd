#include "toolkit/FtpListing.h"

#include <gtest/gtest.h>

#include "platform/Time.h"

namespace {

using namespace Quorvel::FileAccess;

/// Kind, size, time and name; empty for a line that gives nothing.
std::string shown(const std::optional<FtpEntry>& entry) {
  if (!entry) return "";
  const char* const kind = entry->isDirectory ? "d" : entry->isLink ? "l" : "f";
  const std::string size = entry->size ? std::to_string(*entry->size) : "?";
  return kind + (" " + size) + " " + (entry->time ? formatFtpTime(*entry->time) : "?") + " <" + entry->name + ">";
}

TEST(FtpListing, FactsGiveEntries) {
  const std::pair<std::string, const char*> table[] = {
      {"type=file;size=12;modify=20240131101500; a.dat", "f 12 20240131101500 <a.dat>"},
      {"Type=FILE;Size=0;Modify=20240131101500.123;Perm=adfr;UNIX.mode=0644; a.dat\r", "f 0 20240131101500 <a.dat>"},
      {"type=dir;size=4096;sizd=4096;modify=19991231235960; sub dir ", "d ? 19991231235959 <sub dir >"},
      {"type=file;   leading; and = signs", "f ? ? <  leading; and = signs>"},
      {"type=OS.unix=slink:/else/where;size=7;modify=20240131101500; link", "l 7 20240131101500 <link>"},
      {"type=file;size=9223372036854775808; bigger", "f ? ? <bigger>"},
      {"type=file;size=-1;modify=20240230000000; no such day", "f ? ? <no such day>"},
      {"type=cdir;modify=20240131101500; /srv", ""},
      {"type=pdir;modify=20240131101500; ..", ""},
      {"type=OS.unix=chr-1/3; null", ""},
      {"type=file;size=12;", ""},
      {"type=file;size=12; ", ""},
      {"type=file;size=12; ..", ""},
      {"type=file;size=12; ../outside", ""},
      {"type=file;size=12; a\\b", ""},
      {std::string("type=file; a\0b", 14), ""},
      {"type=file; a\rb", ""},
      {"-rw-r--r-- 1 o g 12 Jan 31 10:15 name", ""},
      {" name without facts", ""},
      {"", ""},
  };
  for (const auto& [line, expected] : table) EXPECT_EQ(shown(parseFactsLine(line)), expected) << line;
  EXPECT_EQ(shown(parseFactsOfOne(" type=file;size=1; /srv/dir/a b")), "f 1 ? <a b>");
  EXPECT_EQ(shown(parseFactsOfOne(" type=file;size=1; /srv/..")), "");
}

TEST(FtpListing, LinesOfUnixGiveEntries) {
  const FILETIME now = *parseFtpTime("20240310120000");
  const std::pair<const char*, const char*> table[] = {
      {"-rw-r--r--    1 1000     1000          12 Jan 31 10:15 a.dat\r", "f 12 20240131101500 <a.dat>"},
      {"-rw-r--r-- 1 o g 12 Jan 31  2022 a.dat", "f 12 20220131000000 <a.dat>"},
      {"drwxr-sr-t 2 o g 4096 Dec  1 10:15 sub dir", "d ? 20231201101500 <sub dir>"},
      {"lrwxrwxrwx 1 o g 7 Jan 31 10:15 link -> ../a -> b", "l ? 20240131101500 <link>"},
      {"-rw-r--r-- 1 o g 12 Jan 31 10:15  leading and trailing ", "f 12 20240131101500 < leading and trailing >"},
      {"-rw-r--r-- 1 o g 12 Jan 31 10:15 \xC3\xBC \xFC", "f 12 20240131101500 <\xC3\xBC \xFC>"},
      {"-rw-r--r-- 1 Some Body Domain Users 12 Jan 31 10:15 blanks", "f 12 20240131101500 <blanks>"},
      {"-rw-r--r-- 1 o g 9223372036854775808 Jan 31 10:15 bigger", "f ? 20240131101500 <bigger>"},
      {"-rw-r--r-- 1 o g 12 2024-01-31 10:15 iso", "f 12 20240131101500 <iso>"},
      {"-rw-r--r-- 1 o g 12 2024-01-31 10:15:16.123456789 +0130 iso", "f 12 20240131084516 <iso>"},
      // Without a year: nearest before now, a day behind it at most, and the 29th where there was one.
      {"-rw-r--r-- 1 o g 12 Mar 11 11:59 ahead", "f 12 20240311115900 <ahead>"},
      {"-rw-r--r-- 1 o g 12 Mar 11 12:01 past", "f 12 20230311120100 <past>"},
      {"-rw-r--r-- 1 o g 12 Feb 29 00:00 leap", "f 12 20240229000000 <leap>"},
      {"total 12", ""},
      {"", ""},
      {"   ", ""},
      {"crw-rw-rw- 1 root root 1, 3 Jan 31 10:15 null", ""},
      {"srw-r--r-- 1 o g 0 Jan 31 10:15 socket", ""},
      {"-rw-r--r-- 1 o g twelve Jan 31 10:15 size", ""},
      {"-rw-r--r-- 1 o g 12 Jan 31 10:15", ""},
      {"-rw-r--r-- 1 o g 12 Jan 31 10:15 ..", ""},
      {"-rw-r--r-- 1 o g 12 Jan 31 10:15 a/b", ""},
      {"lrwxrwxrwx 1 o g 12 Jan 31 10:15 ../x -> y", ""},
      {"-rw-r--r-- 1 o g 12 Jan 31 10:15 a\rb", ""},
      {"ls: cannot access 'x': Permission denied", ""},
  };
  for (const auto& [line, expected] : table) EXPECT_EQ(shown(parseListLine(line, now)), expected) << line;
  const FILETIME afterFebruary = *parseFtpTime("20230310120000");
  EXPECT_EQ(shown(parseListLine("-rw-r--r-- 1 o g 12 Feb 29 10:15 x", afterFebruary)), "f 12 20200229101500 <x>");
  const FILETIME lastDay = *parseFtpTime("20231231230000");
  EXPECT_EQ(shown(parseListLine("-rw-r--r-- 1 o g 12 Jan  1 01:00 x", lastDay)), "f 12 20240101010000 <x>");
}

TEST(FtpListing, LinesOfDosGiveEntries) {
  const FILETIME now = *parseFtpTime("20240310120000");
  const std::pair<const char*, const char*> table[] = {
      {"01-31-24  10:15AM                   12 a b.dat", "f 12 20240131101500 <a b.dat>"},
      {"01-31-24  12:15AM       <DIR>          sub dir", "d ? 20240131001500 <sub dir>"},
      {"01-31-2024  10:15PM <dir> few", "d ? 20240131221500 <few>"},
      {"01-31-24  10:15AM 99999999999999999999 bigger", "f ? 20240131101500 <bigger>"},
      {"01-31-24  10:15AM <DIR>", ""},
      {"01-31-24  10:15AM 12 ", ""},
      {"01-31-24  10:15AM <DIR>          ..", ""},
      {"01-31-24  10:15AM -12 negative", ""},
      {"01-31-24  10:15AM 12 a\\b", ""},
  };
  for (const auto& [line, expected] : table) EXPECT_EQ(shown(parseListLine(line, now)), expected) << line;
}

TEST(FtpListing, TimesAreReadToTheirFraction) {
  EXPECT_EQ(platform::toTicks(*parseFtpTime("16010101000000.0000001")), 1U);
  EXPECT_EQ(platform::toTicks(*parseFtpTime("19700101000000.5")), 116444736005000000U);
  EXPECT_EQ(formatFtpTime(*parseFtpTime("21000228235959.99999999")), "21000228235959");
  EXPECT_EQ(formatFtpTime(platform::fromTicks(INT64_MAX)), "99991231235959");
  for (const char* text : {"", "2024013110150", "202401311015000", "20240131101500.", "20240131101500Z",
                           "20240131101500.1x", "20240131 01500", "20241301000000", "20230229000000", "20240131240000",
                           "20240131106000", "20240131101561", "16001231235959", "-0240131101500"}) {
    EXPECT_FALSE(parseFtpTime(text)) << text;
  }
}

TEST(FtpListing, PatternsMatchWithoutRegardToCase) {
  const struct {
    const wchar_t* name;
    const wchar_t* pattern;
    bool matches;
  } table[] = {
      {L"a.dat", L"*", true},           {L"\u00DC.dat", L"\u00FC*", true}, {L"tb000001.zdw", L"tb*.zdw", true},
      {L"abcabd", L"*abd", true},       {L"aXbXc", L"a*x?c", false},       {L"", L"?", false},
      {L"a.dat.part", L"*.dat", false}, {L"xa.dat", L"a.dat", false},      {L"a[1].dat", L"a[1].*", true},
  };
  for (const auto& row : table)
    EXPECT_EQ(matchesPattern(row.name, row.pattern), row.matches) << row.name << row.pattern;
  const std::wstring name(2000, L'a');
  EXPECT_FALSE(matchesPattern(name, L"*a*a*a*a*a*a*a*b"));
}

}  // namespace

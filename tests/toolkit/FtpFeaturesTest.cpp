#include "toolkit/FtpFeatures.h"

#include <gtest/gtest.h>

namespace {

using namespace Quorvel::FileAccess;

/// One letter for each ability.
std::string shown(const FtpFeatures& f) {
  const std::pair<bool, char> abilities[] = {{f.rest, 'r'}, {f.mlst, 'l'}, {f.mdtm, 'm'}, {f.mfmt, 'f'},
                                             {f.size, 's'}, {f.epsv, 'e'}, {f.utf8, 'u'}, {f.authTls, 'a'},
                                             {f.pbsz, 'b'}, {f.prot, 'p'}};
  std::string text;
  for (const auto& [has, letter] : abilities) {
    if (has) text += letter;
  }
  return text;
}

TEST(FtpFeatures, EachServersAnswerIsRead) {
  const struct {
    const char* reply;
    const char* abilities;
  } table[] = {
      {"211-Features:\n AUTH TLS\n EPRT\n EPSV\n MDTM\n PASV\n PBSZ\n PROT\n REST STREAM\n SIZE\n TVFS\n211 End",
       "rmseabp"},
      {"211-Features:\n UTF8\n MFF modify;UNIX.group;UNIX.mode;\n REST STREAM\n MLST modify*;perm*;size*;type*;\n "
       "SIZE\n "
       "MFMT\n MDTM\n EPSV\n211 End",
       "rlmfseu"},
      {"211-Extensions supported:\n UTF8\n EPRT\n IDLE\n MDTM\n SIZE\n MFMT\n REST STREAM\n MLST type*;size*;\n MLSD\n "
       "PASV\n EPSV\n ESTA\n211 End.",
       "rlmfseu"},
      {"211-features\n211-rest stream\n211-size\n211 end", "rs"},
      {"211-Extended features supported:\n AUTH SSL;TLS;\n MDTMX\n XSIZE\n211 END", "a"},
      {"211-\n AUTH SSL\n211 end", ""},
      {"211 no features", ""},
      {"500 SIZE and REST STREAM are not understood\n SIZE", ""},
      {"", ""},
  };
  for (const auto& row : table) EXPECT_EQ(shown(parseFeatures(row.reply)), row.abilities) << row.reply;
}

}  // namespace

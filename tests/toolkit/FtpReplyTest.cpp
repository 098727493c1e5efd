#include "toolkit/FtpReply.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace Quorvel::FileAccess;

std::vector<FtpReply> all(FtpReplyParser& parser) {
  std::vector<FtpReply> replies;
  while (auto reply = parser.next()) replies.push_back(*reply);
  return replies;
}

TEST(FtpReply, BytesBecomeRepliesHoweverTheyArrive) {
  const struct {
    const char* bytes;
    std::vector<std::pair<int, std::string>> replies;
  } table[] = {
      {"220 ready\r\n", {{220, "220 ready"}}},
      {"220 lone line feed\n", {{220, "220 lone line feed"}}},
      {"200\r\n", {{200, "200"}}},
      {"200 \r\n", {{200, "200 "}}},
      {"150 go\r\n226 done\r\n", {{150, "150 go"}, {226, "226 done"}}},
      {"230-Welcome\r\n230-to\r\n230 us\r\n", {{230, "230-Welcome\n230-to\n230 us"}}},
      {"230-\r\n\r\n 230 indented\r\n231 other code\r\n230x\r\n2300 more\r\n230 end\r\n",
       {{230, "230-\n\n 230 indented\n231 other code\n230x\n2300 more\n230 end"}}},
      {"211-Features:\r\n MDTM\r\n211-SIZE\r\n211\r\n421 bye\r\n",
       {{211, "211-Features:\n MDTM\n211-SIZE\n211"}, {421, "421 bye"}}},
  };
  for (const auto& row : table) {
    FtpReplyParser whole;
    whole.append(row.bytes);
    const auto replies = all(whole);
    FtpReplyParser pieces;
    std::vector<FtpReply> fromPieces;
    for (const char c : std::string(row.bytes)) {
      pieces.append({&c, 1});
      for (auto& reply : all(pieces)) fromPieces.push_back(std::move(reply));
    }
    ASSERT_EQ(replies.size(), row.replies.size()) << row.bytes;
    ASSERT_EQ(fromPieces.size(), row.replies.size()) << row.bytes;
    for (std::size_t i = 0; i < replies.size(); ++i) {
      EXPECT_EQ(replies[i].code, row.replies[i].first) << row.bytes;
      EXPECT_EQ(replies[i].text, row.replies[i].second) << row.bytes;
      EXPECT_EQ(fromPieces[i].text, row.replies[i].second) << row.bytes;
    }
    EXPECT_TRUE(whole.isEmpty()) << row.bytes;
    EXPECT_FALSE(whole.isBroken() || pieces.isBroken()) << row.bytes;
  }
}

TEST(FtpReply, WhatIsNoReplyBreaksTheParserForGood) {
  const std::string longLine = "220 " + std::string(9000, 'x');
  std::string endless = "220-\r\n";
  for (int i = 0; i < 1000; ++i) endless += " " + std::string(100, 'x') + "\r\n";
  for (const std::string& bytes : {std::string("SSH-2.0\r\n"), std::string("\x16\x03\x01"), std::string("99 short\r\n"),
                                   std::string("22\r\n"), std::string("\r\n"), std::string("620 code\r\n"),
                                   std::string("220x\r\n"), std::string("2200 code\r\n"), longLine, endless}) {
    FtpReplyParser parser;
    parser.append(bytes);
    EXPECT_FALSE(parser.next()) << bytes.substr(0, 20);
    EXPECT_TRUE(parser.isBroken()) << bytes.substr(0, 20);
    parser.append("220 ready\r\n");
    EXPECT_FALSE(parser.next()) << bytes.substr(0, 20);
    parser.reset();
    parser.append("220 ready\r\n");
    EXPECT_TRUE(parser.next()) << bytes.substr(0, 20);
  }
}

}  // namespace

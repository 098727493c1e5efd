#include "workstation/desktop/window/StatusLines.h"

#include <gmock/gmock.h>

#include <QAbstractItemModelTester>

#include "workstation/desktop/window/CommandLine.h"
#include "workstation/desktop/window/ObjectTable.h"

namespace {

using workstation::Command;
using workstation::RowState;
using workstation::StatusLines;
using workstation::StatusRow;

const std::string kProject = R"({"project":"Haus Süd","uuid":"u-1","directory":"/d","user":"Anna"})";

std::string lineOf(const std::string& state, const char* rest) {
  return R"({"item":"tb1","name":"Keller","here":1,"store":null,"locked":"","reason":"why","state":")" + state + "\"," +
         rest + "}";
}
const char* const kPlain = R"("yours":false,"unsent":false)";

TEST(StatusLines, ReadsLinesWhereverTheyAreCut) {
  const std::string text = kProject + "\n" + lineOf("only here", R"("yours":true,"unsent":true)") + "\n" +
                           lineOf("a new state", kPlain) + "\n";
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    StatusLines lines;
    lines.add(std::string_view(text).substr(0, cut));
    lines.add(std::string_view(text).substr(cut));
    lines.finish();
    ASSERT_EQ(lines.problem(), "") << cut;
    ASSERT_TRUE(lines.project());
    EXPECT_EQ(lines.project()->name, "Haus Süd");
    ASSERT_EQ(lines.rows().size(), 2U);
    EXPECT_EQ(lines.rows()[0].state, RowState::Unsent);
    EXPECT_EQ(lines.rows()[0].here, 1);
    EXPECT_EQ(lines.rows()[0].store, std::nullopt);
    EXPECT_EQ(lines.rows()[1].state, RowState::Unknown) << "told in the program's words";
    EXPECT_EQ(lines.rows()[1].stateText, "a new state");
  }
}

TEST(StatusLines, TellsTheFirstLineThatIsNone) {
  const std::vector<std::string> wrong{"x\n",
                                       "[]\n",
                                       "{\"item\":7}\n",
                                       "\n",
                                       lineOf("in step", "\"yours\":1,\"unsent\":false") + "\n",
                                       "{\"item\":\"tb1\"",
                                       std::string(3U << 20U, 'a').append("\n"),
                                       "{\"uuid\":\"\"}\n",
                                       "\xff\n"};
  for (const std::string& line : wrong) {
    StatusLines lines;
    lines.add(kProject + "\n" + line);
    lines.finish();
    EXPECT_THAT(lines.problem(), testing::StartsWith("status, line 2: expected ")) << line.substr(0, 40);
    EXPECT_LT(lines.problem().size(), 300U);
    EXPECT_TRUE(lines.rows().empty());
  }
}

TEST(CommandLine, OffersWhatCouldDoSomething) {
  struct Case {
    RowState state;
    const char* holder;
    bool isYours;
    std::string offered;  // of lock, unlock, save, fetch
  };
  const std::vector<Case> cases{
      {RowState::InStep, "", false, "l"},          {RowState::ChangedHere, "", false, "ls"},
      {RowState::ChangedHere, "Ben", false, ""},   {RowState::OnlyHere, "Anna", true, "us"},
      {RowState::NewerInStore, "Ben", false, "f"}, {RowState::ChangedOnBoth, "Anna", true, "usf"},
      {RowState::Damaged, "", false, "lf"}};
  for (const Case& one : cases) {
    StatusRow row;
    row.state = one.state;
    row.holder = one.holder;
    row.isYours = one.isYours;
    std::string offered;
    for (const auto& [command, letter] : {std::pair(Command::Lock, 'l'), std::pair(Command::Unlock, 'u'),
                                          std::pair(Command::Save, 's'), std::pair(Command::Fetch, 'f')}) {
      if (makesSense(command, {&row}, false)) offered += letter;
      EXPECT_FALSE(makesSense(command, {}, true)) << "nothing is selected";
    }
    EXPECT_EQ(offered, one.offered) << static_cast<int>(one.state) << one.holder;
  }
  EXPECT_FALSE(makesSense(Command::SendAgain, {}, false));
}

TEST(ObjectTable, KeepsTheRowsOfWhatStayed) {
  const auto rowsOf = [](std::initializer_list<const char*> items) {
    std::vector<StatusRow> rows;
    for (const char* item : items) rows.emplace_back().item = item;
    return rows;
  };
  workstation::ObjectTable table;
  const QAbstractItemModelTester tester(&table);
  table.take(rowsOf({"tb1", "tb2", "tb5", "tb9"}));
  const QPersistentModelIndex selected = table.index(2, 0);
  auto changed = rowsOf({"tb2", "tb3", "tb5", "tb6", "tb9", "tb10"});
  changed[2].holder = "Ben";
  table.take(changed);
  ASSERT_EQ(table.rowCount(), 6);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(table.row(i), changed[static_cast<std::size_t>(i)]);
  EXPECT_EQ(selected.row(), 2);
  EXPECT_EQ(selected.data().toString(), "tb5");
  table.take(rowsOf({"tb9", "tb5"}));
  EXPECT_EQ(table.rowCount(), 2) << "in another order";
}

TEST(CommandLine, WorksInTheProjectThatIsShown) {
  EXPECT_THAT(workstation::pinned({"--workstation=w", "--project=Haus"}, "u-1"),
              testing::ElementsAre("--workstation=w", "--project=u-1"));
}

}  // namespace

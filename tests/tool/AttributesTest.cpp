// set, get, unset and tree with values of every kind.
#include <array>

#include "tests/tool/ToolFixture.h"

namespace karst::test {
namespace {

using AttributesTest = ToolFixture;

// Types and units as options of set, its arguments, and how get lists type, unit and value.
const std::array<std::string, 3> kNumbers[] = {
    {"Int --unit 7", "-2147483648", "Int unit 7 = -2147483648"},
    {"intarray", "1 -2 +3", "IntArray = 1 -2 3"},
    {"IntArray2 --unit 4294967295", "\"1,2, 3 4\"", "IntArray2 unit 4294967295 = 1 2 3 4"},
    {"IntArray3", "\"1 2\" 3", "IntArray3 = 1 2 3"},
    {"Int64 --unit 3", "-9223372036854775808", "Int64 unit 3 = -9223372036854775808"},
    {"Int64Array4", "9223372036854775807 2 3 4", "Int64Array4 = 9223372036854775807 2 3 4"},
    {"Double --unit 1", "-inf", "Double unit 1 = -inf"},
    {"DoubleArray", "-.5 0.1 nan -nan -0 5e-324", "DoubleArray = -0.5 0.1 nan -nan -0 5e-324"},
    {"DoubleArray3B", "1 2 3 4 5 6", "DoubleArray3B = 1 2 3 4 5 6"},
    {"DoubleArray2x2 --unit 9", "1 0 0 1", "DoubleArray2x2 unit 9 = 1 0 0 1"},
    {"DoubleArray4x4", "\"1 2 3 4 5 6 7\" 8 9 0 1 2 3 4 5 6", "DoubleArray4x4 = 1 2 3 4 5 6 7 8 9 0 1 2 3 4 5 6"},
};

TEST_F(AttributesTest, NumbersAreSetShownAndSetAgain) {
  Import("t.db", "<r><first/><second/></r>");
  std::string list;
  for (const auto& row : kNumbers) {
    const auto& [type, arguments, shown] = row;
    const std::string name = "v" + std::to_string(&row - kNumbers);
    const std::string value = shown.substr(shown.find('=') + 2);
    Done("set t.db d 2 " + name + " " + arguments + " --type " + type);
    list += name + ": " + shown + "\n";
    EXPECT_EQ(Done("get t.db d 2 " + name), value + "\n");
    Done("set t.db d 3 " + name + " " + Quoted(value) + " --type " + type);
  }
  EXPECT_EQ(Done("get t.db d 2"), list);
  EXPECT_EQ(Done("get t.db d 3"), list) << "what get prints alone, set takes";
  Done("unset t.db d 3 v0");
  EXPECT_EQ(Done("get t.db d 3"), list.substr(list.find('\n') + 1));
}

TEST_F(AttributesTest, NamesAndTextsMayLookLikeAnything) {
  Import("t.db", "<r lines='&#10;&#13;&#9;&quot;\\'/>");
  for (const std::string text : {"", "get", "-inf", "[a,b]", "\xC3\xA4 \xF0\x9F\x98\x80", "'= "}) {
    const std::string name = Quoted("[" + text + "]");
    Done("set t.db d 1 " + name + " 5 --type Int");
    Done("set t.db d 1 " + name + " " + Quoted(text) + " --type tExT");
    EXPECT_EQ(Done("get t.db d 1 " + name), text + "\n");
  }
  Done("set t.db d 1 --type Text -- --x --type");
  const std::string list = Done("get t.db d 1");
  EXPECT_THAT(list, testing::StartsWith("lines: Text = \"\\n\\r\\t\\\"\\\\\"\n[]: Text = \"\"\n[get]: "));
  EXPECT_THAT(list, testing::EndsWith("\n['= ]: Text = \"'= \"\n--x: Text = \"--type\"\n"));
}

TEST_F(AttributesTest, TreeShowsOneElementALine) {
  Import("t.db", "<r><a><b><c/></b></a><d/></r>");
  Done("set t.db d 2 i -5 --type Int --unit 3");
  Done("set t.db d 2 l 1 2 --type Int64Array2 --unit 4");
  Done("set t.db d 5 t " + Quoted(std::string(59, 'x') + "\x1By") + " --type Text");
  Done("set t.db d 5 m 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 --type DoubleArray");

  const std::string first = "r #1\n  a #2 i=-5{3} l=[1 2]{4}";
  const std::string last =
      "  d #5 t=\"" + std::string(59, 'x') + "\\u001b…\" m=[1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 …]\n";
  EXPECT_EQ(Done("tree t.db d"), first + "\n    b #3\n      c #4\n" + last);
  EXPECT_EQ(Done("tree t.db d --depth 2"), first + " …\n" + last);
  EXPECT_EQ(Done("tree t.db d --limit 2"), first + "\n… and more\n");
  EXPECT_EQ(Done("tree t.db d --limit 5"), Done("tree t.db d"));

  RunSql("t.db", "UPDATE Nodes_1 SET parent_id=1 WHERE id=4; UPDATE Nodes_1 SET parent_id=4 WHERE id=1");
  EXPECT_THAT(Done("tree t.db d --limit 9"), testing::HasSubstr("  c #4\n    r #1 …\n")) << "a circle";
}

}  // namespace
}  // namespace karst::test

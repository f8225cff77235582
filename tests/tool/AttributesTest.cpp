// set, get, unset and tree with values of every type.
#include "tests/tool/ToolFixture.h"

namespace karst::test {
namespace {

using AttributesTest = ToolFixture;

struct TypedValue {
  const char* type;
  const char* unit;
  std::vector<std::string> arguments;
  const char* value;   // as get prints it alone
  const char* listed;  // as get lists it, when that is different
};

const TypedValue kValues[] = {
    {"Text",
     "",
     {"[a, \"b\"]\n\\ \xF0\x9F\x98\x80"},
     "[a, \"b\"]\n\\ \xF0\x9F\x98\x80",
     "\"[a, \\\"b\\\"]\\n\\\\ \xF0\x9F\x98\x80\""},
    {"Text", "", {""}, "", "\"\""},
    {"Int", "7", {"-2147483648"}, "-2147483648", nullptr},
    {"IntArray", "", {"1", "-2", "+3"}, "1 -2 3", nullptr},
    {"IntArray2", "4294967295", {"1,2, 3 4"}, "1 2 3 4", nullptr},
    {"IntArray3", "", {"1 2", "3"}, "1 2 3", nullptr},
    {"IntArray4", "", {"-1", "2", "3", "4"}, "-1 2 3 4", nullptr},
    {"Int64", "3", {"-9223372036854775808"}, "-9223372036854775808", nullptr},
    {"Int64Array", "", {"9223372036854775807", "0"}, "9223372036854775807 0", nullptr},
    {"Int64Array2", "2", {"1 2 3 4"}, "1 2 3 4", nullptr},
    {"Int64Array3", "", {"1 2 3"}, "1 2 3", nullptr},
    {"Int64Array4", "", {"1 2 3 4"}, "1 2 3 4", nullptr},
    {"Double", "1", {"-inf"}, "-inf", nullptr},
    {"Double", "", {"5e-324"}, "5e-324", nullptr},
    {"DoubleArray", "", {"-.5", "0.1", "nan", "-nan", "-0", "1e300"}, "-0.5 0.1 nan -nan -0 1e+300", nullptr},
    {"DoubleArray2", "", {"1.25 -1"}, "1.25 -1", nullptr},
    {"DoubleArray3", "", {"1 2 3"}, "1 2 3", nullptr},
    {"DoubleArray4", "", {"1 2 3 4"}, "1 2 3 4", nullptr},
    {"DoubleArray2B", "", {"1 2"}, "1 2", nullptr},
    {"DoubleArray3B", "", {"1 2 3 4 5 6"}, "1 2 3 4 5 6", nullptr},
    {"DoubleArray4B", "", {"1 2 3 4"}, "1 2 3 4", nullptr},
    {"DoubleArray2x2", "9", {"1 0 0 1"}, "1 0 0 1", nullptr},
    {"DoubleArray3x3", "", {"1 0 0 0 1 0 0 0 1"}, "1 0 0 0 1 0 0 0 1", nullptr},
    {"DoubleArray4x4",
     "",
     {"1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16"},
     "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16",
     nullptr},
};

std::vector<std::string> SetCommand(const std::string& element, const std::string& name, const TypedValue& value,
                                    const std::vector<std::string>& arguments) {
  std::vector<std::string> command{"set", "t.db", "d", element, name};
  command.insert(command.end(), arguments.begin(), arguments.end());
  command.insert(command.end(), {"--type", value.type});
  if (*value.unit != '\0') command.insert(command.end(), {"--unit", value.unit});
  return command;
}

TEST_F(AttributesTest, EveryTypeIsSetShownAndSetAgain) {
  Import("t.db", "<r><first/><second/></r>");
  std::string list;
  int number = 0;
  for (const TypedValue& value : kValues) {
    const std::string name = "v" + std::to_string(number++);
    Done(SetCommand("2", name, value, value.arguments));
    const std::string printed = Done({"get", "t.db", "d", "2", name});
    EXPECT_EQ(printed, std::string(value.value) + "\n") << value.type;
    list += name + ": " + value.type + (*value.unit != '\0' ? std::string(" unit ") + value.unit : "") + " = " +
            (value.listed != nullptr ? value.listed : value.value) + "\n";
    EXPECT_EQ(Done({"get", "t.db", "d", "2"}), list);
    Done(SetCommand("3", name, value, {printed.substr(0, printed.size() - 1)}));
  }
  EXPECT_EQ(Done({"get", "t.db", "d", "3"}), list) << "what get prints alone, set takes";

  Done({"set", "t.db", "d", "3", "v2", "now a text", "--type", "tExT"});
  EXPECT_EQ(Done({"get", "t.db", "d", "3", "v2"}), "now a text\n");
  for (int i = 0; i < number; ++i) Done({"unset", "t.db", "d", "3", "v" + std::to_string(i)});
  EXPECT_EQ(Done({"get", "t.db", "d", "3"}), "");
  EXPECT_EQ(Done({"get", "t.db", "d", "2"}), list);
}

TEST_F(AttributesTest, NamesAndTextsMayLookLikeAnything) {
  Import("t.db", "<r/>");
  for (const std::string name : {"get", "-inf", "[a]", "\xC3\xA4 b", "=x"}) {
    Done({"set", "t.db", "d", "1", name, "[" + name + "]", "--type", "Text"});
    EXPECT_EQ(Done({"get", "t.db", "d", "1", name}), "[" + name + "]\n");
  }
  Done({"set", "t.db", "d", "1", "x", "--type", "Text", "--", "--type"});
  EXPECT_EQ(Done({"get", "t.db", "d", "1", "x"}), "--type\n");
}

TEST_F(AttributesTest, TreeShowsOneElementALine) {
  Import("t.db", "<r><a><b><c/></b></a><d/></r>");
  Done({"set", "t.db", "d", "2", "i", "-5", "--type", "Int", "--unit", "3"});
  Done({"set", "t.db", "d", "2", "l", "1", "2", "--type", "Int64Array2", "--unit", "4"});
  Done({"set", "t.db", "d", "5", "t", std::string(59, 'x') + "\x1B\n", "--type", "Text"});
  std::string many = "1";
  for (int i = 2; i <= 17; ++i) many += " " + std::to_string(i);
  Done({"set", "t.db", "d", "5", "m", many, "--type", "DoubleArray"});

  const std::string first = "r #1\n  a #2 i=-5{3} l=[1 2]{4}";
  const std::string last =
      "  d #5 t=\"" + std::string(59, 'x') + "\\u001b…\" m=[1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 …]\n";
  EXPECT_EQ(Done({"tree", "t.db", "d"}), first + "\n    b #3\n      c #4\n" + last);
  EXPECT_EQ(Done({"tree", "t.db", "d", "--depth", "2"}), first + " …\n" + last);
  EXPECT_EQ(Done({"tree", "t.db", "d", "--limit", "2"}), first + "\n… and more\n");
  EXPECT_EQ(Done({"tree", "t.db", "d", "--limit", "5"}), Done({"tree", "t.db", "d"}));

  RunSql("t.db", "UPDATE Nodes_1 SET parent_id=3 WHERE id=2; UPDATE Nodes_1 SET parent_id=4 WHERE id=1");
  EXPECT_EQ(Done({"tree", "t.db", "d"}), "r #1\n" + last) << "a circle that is cut off";
  RunSql("t.db", "UPDATE Nodes_1 SET parent_id=1 WHERE id=4; UPDATE Nodes_1 SET parent_id=4 WHERE id=1");
  EXPECT_EQ(Done({"tree", "t.db", "d"}), "r #1\n  c #4\n    r #1 …\n" + last) << "a circle through the root";
}

}  // namespace
}  // namespace karst::test

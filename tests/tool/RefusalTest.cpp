// What the tool refuses, and that nothing has changed then.
#include "tests/tool/ToolFixture.h"

namespace karst::test {
namespace {

class RefusalTest : public ToolFixture {
 protected:
  RefusalTest() {
    Import("good.db", "<r a='b'><c/></r>");
    Write("good.xml", "<r/>");
    Write("bad.xml", "<r>\n <s>\n</r>");
    Write("content.xml", "<!DOCTYPE r SYSTEM 'x.dtd'>\n<r>&lost;</r>");
    Write("attribute.xml", "<!DOCTYPE r SYSTEM 'x.dtd' [<!ENTITY e '&lost;'>]>\n<r><s a='&e;'/></r>");
    Write("outside.xml", "<!DOCTYPE r [<!ENTITY e SYSTEM 'a.xml'>]>\n<r>&e;</r>");
    Write("text.db", std::string(5000, 'x'));
    Write("empty.db", "");
    Write("gone.db-journal", "x");
    RunSql("foreign.db", "CREATE TABLE Keywords (a); INSERT INTO Keywords VALUES (1)");
    RunSql("tableless.db", "PRAGMA encoding='UTF-16le'; CREATE TABLE t (a); DROP TABLE t");
  }
};

TEST_F(RefusalTest, NamesTheReasonAndChangesNothing) {
  constexpr const char* cases[][2] = {
    {"import good.db n bad.xml", "bad.xml:3:3: mismatched tag"},
    {"import new.db n bad.xml", "bad.xml:3:3: mismatched tag"},
    {"import empty.db n bad.xml", "bad.xml:3:3: mismatched tag"},
    {"import new.db n content.xml", "content.xml:2:4: undefined entity &lost;"},
    {"import new.db n attribute.xml", "attribute.xml:2:4: undefined entity &lost;"},
    {"import new.db n outside.xml", "outside.xml:2:4: the entity in the other file \"a.xml\" is not read"},
    {"import good.db d good.xml", "good.db: there is a document \"d\" already"},
    {"import foreign.db n good.xml", "foreign.db: this is a database of another kind"},
    {"import text.db n good.xml", "text.db: cannot be opened: file is not a database"},
    {"import . n good.xml", ".: this is a folder"},
    {"ls foreign.db", "foreign.db: this is not a DOM database"},
    {"import gone.db n good.xml", "gone.db: \"gone.db-journal\" is still there, but its database is gone"},
    {"ls missing.db", "missing.db: there is no such file"},
    {"tree good.db n", "good.db: there is no document \"n\""},
    {"export good.db d no/x.xml", "no/x.xml: No such file or directory"},
#if !defined(_WIN32)
    {"import new.db '\xFF' good.xml", "the name of the document is not valid UTF-8"},
#endif
    {"export good.db d good.db", "good.db: this is the database itself"},
    {"get good.db d 1 x", "good.db: the element 1 has no attribute \"x\""},
    {"set good.db d 9 new 1 --type Int", "good.db: the document has no element 9"},
    {"set good.db d 1 x 12x --type Int", "\"12x\" is not a 32-bit integer"},
    {"set good.db d 1 x 2147483648 --type Int", "\"2147483648\" is out of range for a 32-bit integer"},
    {"set good.db d 1 x 1,2 3,4 --type DoubleArray3", "DoubleArray3 takes a multiple of 3 numbers, not 4"},
    {"set good.db d 1 x \"\" --type IntArray2", "IntArray2 takes at least 2 numbers"},
    {"set good.db d 1 x a b --type Text", "Text takes one value: put it into quotation marks"},
    {"set good.db d 1 \"\" a --type Text", "an attribute has a name"},
  };
  const auto files = Files();
  for (const auto& [arguments, message] : cases) {
    const Answer answer = Run(arguments);
    EXPECT_NE(answer.status, 0) << arguments;
    EXPECT_EQ(answer.out, "") << arguments;
    EXPECT_EQ(answer.error, std::string("kadom: ") + message + "\n");
    EXPECT_TRUE(Files() == files) << arguments;
  }
  for (const char* arguments : {"", "ls", "frobnicate", "get good.db d one", "set good.db d 1 x 1 --type Reserved"}) {
    const Answer answer = Run(arguments);
    EXPECT_NE(answer.status, 0) << arguments;
    EXPECT_THAT(answer.error, testing::MatchesRegex("kadom: .+\n"));
  }
  for (const std::string database : {"empty.db", "tableless.db"}) {
    Done("import " + database + " d good.xml");
    EXPECT_EQ(Done("export " + database + " d"), "<r/>\r\n") << "files that hold nothing yet are filled";
  }
}

}  // namespace
}  // namespace karst::test

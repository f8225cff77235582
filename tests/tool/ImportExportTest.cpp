// XML into a file and out again.
#include "tests/tool/ToolFixture.h"

namespace karst::test {
namespace {

using ImportExportTest = ToolFixture;

std::string Utf16(const std::u16string& text) {
  std::string bytes = "\xFF\xFE";
  for (const char16_t unit : text) bytes += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
  return bytes;
}

TEST_F(ImportExportTest, KeepsEveryTextInItsPlace) {
  const struct {
    const char* name;
    std::string xml;
    const char* exported;
  } cases[] = {
      {"a lone root", "<r/>", "<r/>\r\n"},
      {"attributes with every escape", "<r a='&lt;&amp;&gt;\"&#9;&#10;' b=''/>",
       "<r a=\"&lt;&amp;&gt;&quot;&#009;&#010;\" b=\"\"/>\r\n"},
      {"text only, blank too", "<r>\n <a>x y</a> <b> </b>\n</r>",
       "<r>\r\n  <a _text=\"x y\"/>\r\n  <b _text=\" \"/>\r\n</r>\r\n"},
      {"mixed content", "<r>one <b>two</b> three<i/>\n</r>",
       "<r>\r\n  <_text _text=\"one \"/>\r\n  <b _text=\"two\"/>\r\n  <_text _text=\" three\"/>\r\n  <i/>\r\n</r>\r\n"},
      {"text before the first child alone", "<r>x<a/></r>", "<r>\r\n  <_text _text=\"x\"/>\r\n  <a/>\r\n</r>\r\n"},
      {"an attribute called _text", "<r _text='a'>b</r>", "<r _text=\"a\">\r\n  <_text _text=\"b\"/>\r\n</r>\r\n"},
      {"runs are not cut", "<!DOCTYPE r [<!ENTITY e 'E&#65;'>]><r>a<!--c-->b<?p q?>c<![CDATA[<d>]]>e&e;&#33;</r>",
       "<r _text=\"abc&lt;d&gt;eEA!\"/>\r\n"},
      {"a document type elsewhere", "<!DOCTYPE r SYSTEM 'no.dtd' [<!ENTITY e '&f;'><!ENTITY f 'F'>]><r a='&e;&amp;'/>",
       "<r a=\"F&amp;\"/>\r\n"},
      {"a declared encoding", "<?xml version='1.0' encoding='ISO-8859-1'?><r a='\xE9'/>", "<r a=\"\xC3\xA9\"/>\r\n"},
      {"UTF-16", Utf16(u"<r a='\u20AC\U0001F600'/>"), "<r a=\"\xE2\x82\xAC\xED\xA0\xBD\xED\xB8\x80\"/>\r\n"},
      {"names beyond ASCII", "<\xC3\xA9 \xC3\xBC='1'><x:y xmlns:x='u'/></\xC3\xA9>",
       "<\xC3\xA9 \xC3\xBC=\"1\">\r\n  <x:y xmlns:x=\"u\"/>\r\n</\xC3\xA9>\r\n"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    Write("in.xml", row.xml);
    Done({"import", "t.db", row.name, "in.xml"});
    EXPECT_EQ(Done({"export", "t.db", row.name}), row.exported);

    Done({"export", "t.db", row.name, "first.xml"});
    EXPECT_EQ(Read("first.xml"), row.exported);
    const std::string again = std::string(row.name) + ", again";
    Done({"import", "t.db", again, "first.xml"});
    EXPECT_EQ(Done({"export", "t.db", again}), row.exported);
  }
  EXPECT_THAT(Done({"ls", "t.db"}), testing::StartsWith("1\ta lone root\n2\ta lone root, again\n3\t"));
}

// The export writes characters beyond the Basic Multilingual Plane as six bytes, which the import reads in pieces.
TEST_F(ImportExportTest, JoinsSplitCharactersAcrossPieces) {
  for (size_t shift = 0; shift < 6; ++shift) {
    std::string text(shift, 'x');
    for (int i = 0; i < 40000; ++i) text += "\xED\xA0\xBD\xED\xB8\x80";
    const std::string xml = "<r a=\"" + text + "\"/>\r\n";
    const std::string database = std::to_string(shift) + ".db";
    Import(database, xml);
    EXPECT_EQ(Done({"export", database, "d"}), xml) << shift;
  }
}

TEST_F(ImportExportTest, CountsAndReportsWhatItSkips) {
  Write("in.xml", "<?a?><!--1--><r b='c'>x<s>y</s><!--2--><?d e?><t/></r>");
  EXPECT_THAT(Done({"import", "t.db", "d", "in.xml"}),
              testing::MatchesRegex("imported 4 elements, 3 attributes in [0-9.]+ s "
                                    "\\(2 comments, 2 processing instructions skipped\\)\n"));
  Write("in.xml", "<r/>");
  EXPECT_THAT(Done({"import", "t.db", "e", "in.xml"}),
              testing::MatchesRegex("imported 1 element, 0 attributes in [0-9.]+ s\n"));
}

// Long lists of children are stored in pieces, and every element gets its place.
TEST_F(ImportExportTest, KeepsTheOrderOfManyChildren) {
  std::string xml = "<r>\r\n";
  for (int i = 0; i < 10000; ++i) xml += "  <e n=\"" + std::to_string(i) + "\"/>\r\n";
  xml += "</r>\r\n";
  Import("t.db", xml);
  EXPECT_EQ(Done({"export", "t.db", "d"}), xml);
  EXPECT_EQ(Done({"tree", "t.db", "d", "--limit", "3"}), "r #1\n  e #2 n=\"0\"\n  e #3 n=\"1\"\n… and more\n");
}

}  // namespace
}  // namespace karst::test

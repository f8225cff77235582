// XML into a file and out again.
#include "tests/tool/ToolFixture.h"

namespace karst::test {
namespace {

using ImportExportTest = ToolFixture;

TEST_F(ImportExportTest, KeepsEveryTextInItsPlace) {
  const std::pair<std::string, std::string> cases[] = {
      {"<r a='&lt;&amp;&gt;\"&#9;&#10;' b=''/>", "<r a=\"&lt;&amp;&gt;&quot;&#009;&#010;\" b=\"\"/>\n"},
      {"<r>\n <a>x y</a> <b> </b>\n</r>", "<r>\n  <a _text=\"x y\"/>\n  <b _text=\" \"/>\n</r>\n"},
      {"<r>1 <b>2</b> 3<i/>\n</r>",
       "<r>\n  <_text _text=\"1 \"/>\n  <b _text=\"2\"/>\n  <_text _text=\" 3\"/>\n  <i/>\n</r>\n"},
      {"<r _text='a'>b</r>", "<r _text=\"a\">\n  <_text _text=\"b\"/>\n</r>\n"},
      {"<!DOCTYPE r [<!ENTITY e 'E&#65;'>]><r>a<!--c-->b<?p q?>c<![CDATA[<d>]]>e&e;&#33;</r>",
       "<r _text=\"abc&lt;d&gt;eEA!\"/>\n"},
      {"<!DOCTYPE r SYSTEM 'no.dtd' [<!ENTITY e '&f;'><!ENTITY f 'F'>]><r a='&e;&amp;'/>", "<r a=\"F&amp;\"/>\n"},
      {std::string("\xFF\xFE<\0r\0 \0a\0=\0'\0\xAC\x20\x3D\xD8\0\xDE'\0/\0>\0", 26),
       "<r a=\"\xE2\x82\xAC\xED\xA0\xBD\xED\xB8\x80\"/>\n"},
      {"<\xC3\xA9 \xC3\xBC='1'><x:y xmlns:x='u'/></\xC3\xA9>",
       "<\xC3\xA9 \xC3\xBC=\"1\">\n  <x:y xmlns:x=\"u\"/>\n</\xC3\xA9>\n"},
  };
  int number = 0;
  for (const auto& [xml, lines] : cases) {
    SCOPED_TRACE(xml);
    const std::string exported = Replaced(lines, "\n", "\r\n");
    const std::string name = std::to_string(number++);
    Write("in.xml", xml);
    Done("import t.db \"first " + name + "\" in.xml");
    EXPECT_EQ(Done("export t.db \"first " + name + "\""), exported);
    Done("export t.db \"first " + name + "\" out.xml");
    EXPECT_EQ(Files()["out.xml"], exported);
    Done("import t.db \"again " + name + "\" out.xml");
    EXPECT_EQ(Done("export t.db \"again " + name + "\""), exported);
  }
  EXPECT_THAT(Done("ls t.db"), testing::StartsWith("1\tfirst 0\n2\tagain 0\n3\tfirst 1\n"));
}

// Characters beyond the Basic Multilingual Plane come out as six bytes, which go in again in pieces of 64 KiB. Long
// lists of children are stored in pieces.
TEST_F(ImportExportTest, PiecesFitTogether) {
  for (size_t shift = 0; shift < 6; ++shift) {
    std::string xml = "<r a=\"" + std::string(shift, 'x');
    for (int i = 0; i < 25000; ++i) xml += "\xED\xA0\xBD\xED\xB8\x80";
    xml += "\">\r\n";
    for (int i = 0; i < 5000; ++i) xml += "  <e n=\"" + std::to_string(i) + "\"/>\r\n";
    xml += "</r>\r\n";
    const std::string database = std::to_string(shift) + ".db";
    Import(database, xml);
    EXPECT_TRUE(Done("export " + database + " d") == xml) << shift;
  }
}

}  // namespace
}  // namespace karst::test

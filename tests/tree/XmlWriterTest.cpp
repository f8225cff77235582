// The bytes of an export.
#include <array>

#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

class XmlWriterTest : public DomFixture {
 protected:
  std::string Export(int64_t id) {
    KaSmartPtr<KaDomElement> element;
    EXPECT_TRUE(document->GetElement(id, element.Out()) && element->ExportXml(WidePath(Path("out.xml")).c_str()));
    return ReadFile(Path("out.xml"));
  }
};

TEST_F(XmlWriterTest, WritesTagsLinesAndIndentation) {
  ASSERT_TRUE(OpenNew(KA_TEXT("R&\n\u00e9")));
  EXPECT_EQ(Export(1), "<R&\r\n\xC3\xA9/>\r\n") << "element names are not escaped";
  ASSERT_TRUE(Grow(1, "a(b(c),d),e"));
  RunSql("UPDATE Nodes_1 SET name_id=0 WHERE id=6");
  EXPECT_EQ(Export(1),
            "<R&\r\n\xC3\xA9>\r\n  <a>\r\n    <b>\r\n      <c/>\r\n    </b>\r\n    <d/>\r\n  </a>\r\n  <#Error/>\r\n"
            "</R&\r\n\xC3\xA9>\r\n");

  KaSmartPtr<KaDomElement> a, b;
  ASSERT_TRUE(document->GetElement(2, a.Out()) && a->GetFirstChild(b.Out()));
  EXPECT_TRUE(b->ExportXml(WidePath(Path("out.xml")).c_str()));
  EXPECT_EQ(ReadFile(Path("out.xml")), "<b>\r\n  <c/>\r\n</b>\r\n") << "the siblings stay out";
  EXPECT_FALSE(a->ExportXml(WidePath(Path("no-such-folder/x.xml")).c_str()));
  RunSql("UPDATE Nodes_1 SET parent_id=4 WHERE id=2");
  EXPECT_EQ(Export(2), "<a>\r\n  <b>\r\n    <c/>\r\n  </b>\r\n  <d/>\r\n</a>\r\n") << "a circle";
}

TEST_F(XmlWriterTest, WritesTextsAndIntegerArraysInStoredOrder) {
  constexpr std::array<int32_t, 6> kInts{1, -2, 3, 4, INT32_MIN, INT32_MAX};
  const int64_t wide = 1;
  const double real = 1;
  const std::string text(70001, 'x');
  KaSmartPtr<KaDomDocumentEditor> editor;
  KaSmartPtr<KaDomElementEditor> e;
  ASSERT_TRUE(OpenNew() && document->OpenEditor(editor.Out()) && editor->OpenElementEditor(1, e.Out()));
  EXPECT_TRUE(e->SetText(KA_TEXT("t\"&"), KA_TEXT("Tom & Jerry's <\t\n\r\">\u0001\u007f")));
  EXPECT_TRUE(e->SetInt(KA_TEXT("int"), 5, 0) && e->SetInt64(KA_TEXT("int64"), 5, 0));
  EXPECT_TRUE(e->SetDouble(KA_TEXT("double"), 5, 0) && e->SetDoubleArray(KA_TEXT("doubles"), &real, 1, 13, 0));
  EXPECT_TRUE(e->SetInt64Array(KA_TEXT("int64s"), &wide, 1, 8, 0));
  EXPECT_TRUE(e->SetIntArray(KA_TEXT("one"), kInts.data() + 1, 1, 3, 0));
  EXPECT_TRUE(e->SetIntArray(KA_TEXT("two"), kInts.data(), 1, 4, 0));
  EXPECT_TRUE(e->SetIntArray(KA_TEXT("three"), kInts.data(), 2, 5, 0));
  EXPECT_TRUE(e->SetIntArray(KA_TEXT("four"), kInts.data(), 1, 6, 0));
  EXPECT_TRUE(e->SetText(KA_TEXT("empty"), KA_TEXT("")) && e->SetText(KA_TEXT("long"), Wide(text).c_str()));
  EXPECT_TRUE(e->SetText(KA_TEXT("utf"), KA_TEXT("\u00e9\u20ac\U0001F600\uffff")) && e->Commit());
  EXPECT_EQ(Export(1),
            "<Root t&quot;&amp;=\"Tom &amp; Jerry&apos;s &lt;&#009;&#010;&#013;&quot;&gt;\x01\x7F\" one=\"-2\""
            " two=\"1 -2\" three=\"1 -2 3 4 -2147483648 2147483647\" four=\"1 -2 3 4\" empty=\"\" long=\"" +
                text + "\" utf=\"\xC3\xA9\xE2\x82\xAC\xED\xA0\xBD\xED\xB8\x80\xEF\xBF\xBF\"/>\r\n");

  RunSql(
      "UPDATE Nodes_1 SET data=X'02000000000000000300000000000000000000000000000000000000000000000000"
      "03000000000000000000000041000000'");
  EXPECT_EQ(Export(1), "<Root =\"\" int=\"A\"/>\r\n") << "no array of count 0; name id 0 is an empty name";
  calls.Fail({.kind = "Allocate"});
  EXPECT_EQ(Export(1), "<Root/>\r\n") << "what cannot be read is left out";
}

}  // namespace
}  // namespace karst::test

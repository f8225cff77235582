// The bytes of an export.
#include <array>

#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "tests/support/DomFixture.h"

namespace karst::test {
namespace {

class XmlWriterTest : public DomFixture {
 protected:
  std::string Export(KaDomElement* element) {
    EXPECT_TRUE(element->ExportXml(WidePath(Path("out.xml")).c_str()));
    return ReadFile(Path("out.xml"));
  }
  std::string Export(int64_t id) {
    KaSmartPtr<KaDomElement> element;
    EXPECT_TRUE(document->GetElement(id, element.Out()));
    return Export(element.Get());
  }
  // Sets attributes of an element and commits them.
  template <class Set>
  void Edit(int64_t id, Set set) {
    KaSmartPtr<KaDomDocumentEditor> editor;
    KaSmartPtr<KaDomElementEditor> element;
    ASSERT_TRUE(document->OpenEditor(editor.Out()) && editor->OpenElementEditor(id, element.Out()));
    set(element.Get());
    ASSERT_TRUE(element->Commit() && editor->Commit());
  }
};

TEST_F(XmlWriterTest, WritesTagsLinesAndIndentation) {
  ASSERT_TRUE(OpenNew(KA_TEXT("R&D\u00e9")));
  EXPECT_EQ(Export(1), "<R&D\xC3\xA9/>\r\n") << "element names are not escaped";
  ASSERT_TRUE(Grow(1, "a(b(c),d),e"));
  RunSql("UPDATE Nodes_1 SET name_id=0 WHERE id=6");
  EXPECT_EQ(Export(1),
            "<R&D\xC3\xA9>\r\n"
            "  <a>\r\n"
            "    <b>\r\n"
            "      <c/>\r\n"
            "    </b>\r\n"
            "    <d/>\r\n"
            "  </a>\r\n"
            "  <#Error/>\r\n"
            "</R&D\xC3\xA9>\r\n");

  KaSmartPtr<KaDomElement> a, b;
  ASSERT_TRUE(document->GetElement(2, a.Out()) && a->GetFirstChild(b.Out()));
  EXPECT_EQ(Export(b.Get()), "<b>\r\n  <c/>\r\n</b>\r\n") << "the siblings stay out";
  EXPECT_EQ(b->GetId(), 3);
  EXPECT_FALSE(a->ExportXml(WidePath(Path("no-such-folder/x.xml")).c_str()));
  EXPECT_FALSE(a->ExportXml(nullptr));
}

TEST_F(XmlWriterTest, WritesTextsAndIntegerArraysInStoredOrder) {
  ASSERT_TRUE(OpenNew());
  constexpr std::array<int32_t, 8> kNumbers{1, -2, 3, 4, 5, INT32_MIN, INT32_MAX, 0};
  const int64_t wide = 1;
  const double real = 1;
  Edit(1, [&](KaDomElementEditor* e) {
    EXPECT_TRUE(e->SetText(KA_TEXT("t\"&"), KA_TEXT("Tom & Jerry's <\t\n\r\">\u0001\u007f")));
    EXPECT_TRUE(e->SetInt(KA_TEXT("int"), 5, 0));
    EXPECT_TRUE(e->SetInt64(KA_TEXT("int64"), 5, 0));
    EXPECT_TRUE(e->SetInt64Array(KA_TEXT("int64s"), &wide, 1, 8, 0));
    EXPECT_TRUE(e->SetDouble(KA_TEXT("double"), 5, 0));
    EXPECT_TRUE(e->SetDoubleArray(KA_TEXT("doubles"), &real, 1, 13, 0));
    EXPECT_TRUE(e->SetIntArray(KA_TEXT("one"), kNumbers.data() + 1, 1, 3, 0));
    EXPECT_TRUE(e->SetIntArray(KA_TEXT("two"), kNumbers.data(), 1, 4, 0));
    EXPECT_TRUE(e->SetIntArray(KA_TEXT("three"), kNumbers.data(), 2, 5, 0));
    EXPECT_TRUE(e->SetIntArray(KA_TEXT("four"), kNumbers.data() + 4, 1, 6, 0));
    EXPECT_TRUE(e->SetText(KA_TEXT("empty"), KA_TEXT("")));
    EXPECT_TRUE(e->SetText(KA_TEXT("utf"), KA_TEXT("\u00e9\u20ac\U0001F600\uffff")));
  });
  EXPECT_EQ(Export(1),
            "<Root t&quot;&amp;=\"Tom &amp; Jerry&apos;s &lt;&#009;&#010;&#013;&quot;&gt;\x01\x7F\" one=\"-2\""
            " two=\"1 -2\" three=\"1 -2 3 4 5 -2147483648\" four=\"5 -2147483648 2147483647 0\" empty=\"\""
            " utf=\"\xC3\xA9\xE2\x82\xAC\xED\xA0\xBD\xED\xB8\x80\xEF\xBF\xBF\"/>\r\n");

  RunSql("UPDATE Nodes_1 SET data=X'020000000000000003000000000000000000000003000000000000000000000041000000'");
  EXPECT_EQ(Export(1), "<Root int=\"A\"/>\r\n") << "an array of count 0 leaves no trace";
}

TEST_F(XmlWriterTest, WritesLongTextsAndOverwrites) {
  ASSERT_TRUE(OpenNew());
  const std::string text(200001, 'x');
  Edit(1, [&](KaDomElementEditor* e) { EXPECT_TRUE(e->SetText(KA_TEXT("n"), Wide(text).c_str())); });
  EXPECT_EQ(Export(1), "<Root n=\"" + text + "\"/>\r\n");
  Edit(1, [&](KaDomElementEditor* e) { EXPECT_TRUE(e->RemoveAllAttributes()); });
  EXPECT_EQ(Export(1), "<Root/>\r\n");
}

TEST_F(XmlWriterTest, LeavesOutWhatCannotBeRead) {
  ASSERT_TRUE(OpenNew() && Grow(1, "a"));
  Edit(1, [](KaDomElementEditor* e) { EXPECT_TRUE(e->SetText(KA_TEXT("n"), KA_TEXT("v"))); });
  calls.Fail({.kind = "Allocate"});
  EXPECT_EQ(Export(1), "<Root>\r\n  <a/>\r\n</Root>\r\n");
  calls.ClearFaults();
  calls.Fail({.kind = "Prepare", .text = "parent_id=@ELEM"});
  ASSERT_TRUE(Reopen());
  EXPECT_EQ(Export(1), "<Root n=\"v\"/>\r\n");
}

TEST_F(XmlWriterTest, EndsOnACircle) {
  ASSERT_TRUE(OpenNew() && Grow(1, "a(b(c))"));
  RunSql("UPDATE Nodes_1 SET parent_id=4 WHERE id=2");
  EXPECT_EQ(Export(2), "<a>\r\n  <b>\r\n    <c/>\r\n  </b>\r\n</a>\r\n");
}

}  // namespace
}  // namespace karst::test

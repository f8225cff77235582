// The attribute operations of the element editor: what reaches the record at its commit.
#include <array>
#include <functional>

#include "tests/editing/EditingFixture.h"

namespace karst::test {
namespace {

constexpr std::array<int32_t, 4> kInts{1, -1, 3, 4};
constexpr std::array<int64_t, 4> kLongs{1, -1, 3, 4};
constexpr std::array<double, 16> kDoubles{1.5};

using Change = std::function<bool(KaDomElementEditor*)>;

// An editor of the root. The name "a" has the id 2, "b" 3.
class DomElementEditorAttributesTest : public EditingFixture {
 protected:
  void SetUp() override {
    EditingFixture::SetUp();
    OpenElement();
  }
  // Commits the element editor and opens another; answers the stored bytes in groups of 4, "" for NULL.
  std::string Record() {
    EXPECT_TRUE(element->Commit());
    OpenElement();
    const std::string hex = QueryText("SELECT hex(data) FROM Nodes_1 WHERE id=1");
    std::string groups;
    for (size_t i = 0; i < hex.size(); i += 8) groups += (i == 0 ? "" : " ") + hex.substr(i, 8);
    return groups;
  }
};

TEST_F(DomElementEditorAttributesTest, SettersStoreTheirValueInPlaceOfAnyOther) {
  const std::pair<Change, std::string> cases[] = {
      {[](auto* e) { return e->SetInt(KA_TEXT("a"), 5, 0); }, "02000000 00000000 05000000"},
      {[](auto* e) { return e->SetInt64(KA_TEXT("a"), -2, 9); }, "07000000 09000000 FEFFFFFF FFFFFFFF"},
      {[](auto* e) { return e->SetDouble(KA_TEXT("a"), 1.5, 12); }, "0C000000 0C000000 00000000 0000F83F"},
      {[](auto* e) { return e->SetText(KA_TEXT("a"), KA_TEXT("a\u20acb")); }, "00000000 6100AC20 62000000"},
      {[](auto* e) { return e->SetText(KA_TEXT("a"), KA_TEXT("")); }, "00000000 0000"},
      {[](auto* e) { return e->SetIntArray(KA_TEXT("a"), kInts.data(), 2, 4, 0); },
       "04000000 00000000 02000000 01000000 FFFFFFFF 03000000 04000000"},
      {[](auto* e) { return e->SetInt64Array(KA_TEXT("a"), kLongs.data(), 1, 9, 1); },
       "09000000 01000000 01000000 01000000 00000000 FFFFFFFF FFFFFFFF"},
      {[](auto* e) { return e->SetDoubleArray(KA_TEXT("a"), kDoubles.data(), 1, 15, UINT32_MAX); },
       "0F000000 FFFFFFFF 01000000 00000000 0000F83F 00000000 00000000 00000000 00000000"},
  };
  for (const auto& [change, bytes] : cases) {
    EXPECT_TRUE(change(element.Get()));
    EXPECT_EQ(Record(), "02000000 00000000 " + bytes);
  }
}

TEST_F(DomElementEditorAttributesTest, RefusedValuesLeaveTheAttributeAlone) {
  ASSERT_TRUE(element->SetInt(KA_TEXT("a"), 5, 0));
  const auto set = [&](uint32_t setter, uint32_t type, uint64_t count, bool data = true) {
    if (setter < 7) return element->SetIntArray(KA_TEXT("a"), data ? kInts.data() : nullptr, count, type, 0);
    if (setter < 12) return element->SetInt64Array(KA_TEXT("a"), data ? kLongs.data() : nullptr, count, type, 0);
    return element->SetDoubleArray(KA_TEXT("a"), data ? kDoubles.data() : nullptr, count, type, 0);
  };
  const int64_t calm = calls.Count();
  for (uint32_t type : {3U, 8U, 13U}) EXPECT_FALSE(set(type, type, 0) || set(type, type, 1, false)) << type;
  constexpr uint64_t kMany = uint64_t{1} << 31;
  const std::pair<uint32_t, uint64_t> tooMany[] = {
      {3, kMany}, {8, kMany}, {13, kMany}, {6, kMany / 4}, {22, kMany / 16}, {8, 2 * kMany + 1}, {13, kMany << 30}};
  for (const auto& [type, count] : tooMany) EXPECT_FALSE(set(type, type, count)) << type << ' ' << count;
  ExpectLog("");
  const std::pair<uint32_t, uint32_t> wrongTypes[] = {{3, 2},   {3, 7},   {8, 7},           {8, 12},
                                                      {13, 12}, {13, 23}, {13, UINT32_MAX}, {3, 0}};
  for (const auto& [setter, type] : wrongTypes) {
    EXPECT_FALSE(set(setter, type, 1));
    ExpectLog("3 Invalid value type: " + std::to_string(static_cast<int32_t>(type)));
  }
  EXPECT_FALSE(element->SetText(KA_TEXT("a"), nullptr));
  EXPECT_EQ(calls.Count(), calm) << "nothing is allocated for what is refused";
  calls.Fail({.kind = "Allocate"});
  EXPECT_FALSE(element->SetText(KA_TEXT("a"), KA_TEXT("b")) || set(3, 3, 1));
  calls.ClearFaults();
  EXPECT_EQ(Record(), "02000000 00000000 02000000 00000000 05000000");
}

TEST_F(DomElementEditorAttributesTest, SettersRefuseNamesWithoutAnId) {
  const auto refuseAll = [&](const KaChar* name) {
    EXPECT_FALSE(element->SetInt(name, 1, 0));
    EXPECT_FALSE(element->SetInt64(name, 1, 0));
    EXPECT_FALSE(element->SetDouble(name, 1, 0));
    EXPECT_FALSE(element->SetText(name, KA_TEXT("")));
    EXPECT_FALSE(element->SetIntArray(name, kInts.data(), 1, 3, 0));
    EXPECT_FALSE(element->SetInt64Array(name, kLongs.data(), 1, 8, 0));
    EXPECT_FALSE(element->SetDoubleArray(name, kDoubles.data(), 1, 13, 0));
  };
  refuseAll(nullptr);
  refuseAll(KA_TEXT(""));
  EXPECT_FALSE(element->RemoveAttribute(nullptr));
  EXPECT_FALSE(element->SetText(KA_TEXT("new"), nullptr));
  EXPECT_EQ(calls.Take().find("Keywords"), std::string::npos);
  calls.Fail({.kind = "Execute", .text = "INTO Keywords"});
  refuseAll(KA_TEXT("unstored"));
  EXPECT_EQ(calls.Hits(), 7);
  host.TakeLog();
  EXPECT_EQ(Record(), "");
}

TEST_F(DomElementEditorAttributesTest, ReadsTheRecordOnceAndWritesItInTheOrderOfNames) {
  EXPECT_TRUE(element->SetInt(KA_TEXT("b"), 1, 0));
  ExpectCalls("Prepare SELECT data FROM Nodes_1 WHERE id=@ELEM LIMIT 1; BindInt64 0 1; Step 1; GetBlobSize 0; Reset");
  EXPECT_TRUE(element->SetInt(KA_TEXT("a"), 2, 0) && element->SetText(KA_TEXT("b"), KA_TEXT("")));
  ExpectCalls("");
  EXPECT_EQ(Record(), "02000000 00000000 02000000 00000000 02000000 03000000 00000000 00000000 0000");

  EXPECT_TRUE(element->RemoveAttribute(KA_TEXT("a")));
  ExpectCalls("BindInt64 0 1; Step 1; GetBlobSize 0; GetBlob 0; Reset");
  EXPECT_TRUE(element->RemoveAttribute(KA_TEXT("Root"))) << "it has no such attribute";
  EXPECT_EQ(Record(), "03000000 00000000 00000000 0000");
  EXPECT_TRUE(element->RemoveAllAttributes());
  ExpectCalls("");
  EXPECT_TRUE(element->SetInt(KA_TEXT("a"), 1, 0));
  EXPECT_EQ(Record(), "02000000 00000000 02000000 00000000 01000000") << "what was never read is gone";
  EXPECT_TRUE(element->RemoveAttribute(KA_TEXT("a")));
  EXPECT_EQ(Record(), "");
  EXPECT_EQ(Table("typeof(data)", "Nodes_1 WHERE id=1"), "'null'");
}

TEST_F(DomElementEditorAttributesTest, NeedAnElement) {
  OpenElement(99);
  EXPECT_FALSE(element->SetInt(KA_TEXT("a"), 1, 0) || element->RemoveAttribute(KA_TEXT("a")));
  EXPECT_TRUE(element->RemoveAllAttributes() && element->SetInt(KA_TEXT("a"), 1, 0) && element->Commit());
}

}  // namespace
}  // namespace karst::test

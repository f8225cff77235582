#include "src/values/AttributeSet.h"

#include "tests/support/Text.h"
#include "tests/values/RecordLaws.h"
#include "tests/values/ValuesTest.h"

namespace karst::test {

using namespace karst::impl;

namespace {

using AttributeSetTest = ValuesTest;
using Ids = std::vector<int64_t>;

// A value that says it is big.
class BigValue final : public Value {
 public:
  explicit BigValue(size_t size) : size(size) {}
  uint32_t GetType() const override { return ValueType::Text; }
  size_t GetDataSize() const override { return size; }
  void Write(uint8_t*& /*cursor*/) const override {}

 private:
  const size_t size;
};

TEST_F(AttributeSetTest, EncodesByIdKeepsTheOrderOfEntryAndReleasesWhatGoes) {
  const KaSmartPtr<Value> replaced(new DoubleValue(1.5, 12));
  auto* const pairs = new IntArrayValue(0);
  AttributeSet set;
  set.SetValue(5, replaced.Get());
  set.SetValue(-2, pairs);
  set.SetValue(9, new DoubleValue(1.5, 12));
  set.SetValue(4, new TextValue(KA_TEXT("ab")));
  set.SetValue(5, new IntValue(7, 3));
  set.RemoveValue(9);
  set.RemoveValue(8);
  const int32_t numbers[] = {1, 2, 3, 4};
  ASSERT_TRUE(pairs->Initialize(ValueType::IntArray2, 2, numbers));
  EXPECT_EQ(set.Order(), (Ids{5, -2, 4}));
  EXPECT_EQ(replaced->RefCount(), 1);
  EXPECT_TRUE(set.Contains(4));
  EXPECT_FALSE(set.Contains(9));

  HostBlock block;
  size_t size = 0;
  ASSERT_TRUE(EncodeAttributes(set, &block, &size));
  const std::string expected =
      "FEFFFFFFFFFFFFFF04000000000000000200000001000000020000000300000004000000"
      "040000000000000000000000610062000000"
      "0500000000000000020000000300000007000000";
  EXPECT_EQ(Hex(block.Bytes(), size), expected);
  set.Clear();
  EXPECT_EQ(set.Size() + set.Order().size(), 0u);
  ASSERT_TRUE(EncodeAttributes(set, &block, &size));
  EXPECT_EQ(size, 0u);
  EXPECT_FALSE(block);
}

TEST_F(AttributeSetTest, RefusesMoreBytesThanCanBeStored) {
  for (const int64_t excess : {0, 1}) {
    AttributeSet set;
    set.SetValue(1, new BigValue(size_t{0x7FFFFFFF} - 12 + static_cast<size_t>(excess)));
    HostBlock block;
    size_t size = 77;
    EXPECT_EQ(RefusedBlocks([&] { EXPECT_FALSE(EncodeAttributes(set, &block, &size)); }), 1 - excess);
    EXPECT_EQ(size, 77u);
  }
}

TEST_F(AttributeSetTest, LoadsAllRecordsOrNothing) {
  std::mt19937_64 random(1);
  Bytes bytes;
  for (const uint32_t type : {0u, 2u, 22u}) AppendRecord(random, type + 1, type, 2, &bytes);
  AppendRecord(random, 1, 9, 2, &bytes);
  AttributeSet set;
  set.SetValue(99, new IntValue(1, 0));
  for (int64_t n = 1; n <= 4; ++n) {
    EXPECT_TRUE(set.Contains(99));
    calls.Fail({.kind = "Allocate", .nth = n});
    EXPECT_EQ(LoadRecords(bytes.data(), bytes.data() + bytes.size(), &set), n == 4) << n;
    calls.ClearFaults();
  }
  EXPECT_EQ(set.Order(), (Ids{1, 3, 23}));
  EXPECT_EQ(set.Values().at(1)->GetType(), 9u);
}

}  // namespace

}  // namespace karst::test

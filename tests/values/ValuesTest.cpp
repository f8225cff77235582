// Values, sets of them, and the records that they are stored in.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <sstream>

#include "records/RecordCodec.h"
#include "src/module/Attachment.h"
#include "src/values/AttributeSet.h"
#include "src/values/DomAttribute.h"
#include "src/values/Value.h"
#include "tests/support/RecordingHost.h"
#include "tests/values/RecordLaws.h"

namespace karst::test {

using namespace karst::impl;

namespace {

class ValuesTest : public ::testing::Test {
 protected:
  ValuesTest() {
    AttachTo(&host);
    host.TakeLog();  // there is no database module, and none is needed
  }
  void TearDown() override {
    EXPECT_EQ(calls.Imbalance() + host.TakeLog(), "");
    Detach();
  }

  // How many blocks `work` asks the host for while the host refuses them all.
  template <class Work>
  int64_t RefusedBlocks(Work work) {
    calls.Fail({.kind = "Allocate"});
    work();
    calls.ClearFaults();
    return calls.Hits();
  }

  CallLog calls;
  RecordingHost host{calls};
};

Bytes FromHex(const std::string& spaced) {
  Bytes bytes;
  const std::string digits = Replaced(spaced, " ", "");
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

template <class Number>
bool Initialize(uint32_t type, uint64_t count, const void* data) {
  const KaSmartPtr<ArrayValue<Number>> array(new ArrayValue<Number>(0));
  return array->Initialize(type, static_cast<size_t>(count), data);
}

TEST_F(ValuesTest, InitializeRefusesBeforeItAllocates) {
  constexpr uint64_t kMax = 0x7FFFFFFF;
  const struct {
    bool (*initialize)(uint32_t type, uint64_t count, const void* data);
    uint32_t type;
    uint64_t count;
    const char* log;
    int64_t blocks = 0;
  } cases[] = {
      {&Initialize<int32_t>, 2, 1, "3 Invalid value type: 2"},
      {&Initialize<int32_t>, 0xFFFFFFFF, 1, "3 Invalid value type: -1"},
      {&Initialize<int64_t>, 13, 1, "3 Invalid value type: 13"},
      {&Initialize<double>, 23, 1, "3 Invalid value type: 23"},
      {&Initialize<int32_t>, 3, kMax, "", 1},
      {&Initialize<int32_t>, 3, kMax + 1, ""},
      {&Initialize<int64_t>, 8, uint64_t{1} << 61, ""},
      {&Initialize<double>, 22, kMax / 16, "", 1},
      {&Initialize<double>, 22, kMax / 16 + 1, ""},
  };
  for (const auto& [initialize, type, count, log, blocks] : cases) {
    SCOPED_TRACE(std::to_string(type) + " x " + std::to_string(count));
    EXPECT_EQ(RefusedBlocks([&, f = initialize, t = type, n = count] { EXPECT_FALSE(f(t, n, &cases)); }), blocks);
    EXPECT_EQ(host.TakeLog(), log);
    EXPECT_FALSE(initialize(type, count, nullptr));
    EXPECT_EQ(host.TakeLog(), "");
  }
  const KaSmartPtr<IntArrayValue> array(new IntArrayValue(9));
  EXPECT_TRUE(array->Initialize(4, 1, &kMax) && !array->Initialize(4, 1, &kMax));
  EXPECT_EQ(host.TakeLog(), "3 Cannot initialize value more than once.");
}

TEST_F(ValuesTest, SetsKeepTheOrderOfEntryAndThatOfIds) {
  const KaSmartPtr<Value> replaced(new DoubleValue(1.5, 12));
  AttributeSet set;
  set.SetValue(5, replaced);
  for (const int64_t id : {-2, 9, 4, 5}) set.SetValue(id, KaSmartPtr<Value>(new IntValue(7, 3)));
  for (const int64_t id : {9, 8}) set.RemoveValue(id);
  std::vector<int64_t> ascending;
  for (const auto& [id, value] : set.Values()) ascending.push_back(id);
  EXPECT_EQ(ascending, (std::vector<int64_t>{-2, 4, 5}));
  EXPECT_EQ(set.Order(), (std::vector<int64_t>{5, -2, 4}));
  EXPECT_EQ(replaced->RefCount(), 1);
}

TEST_F(ValuesTest, SetsRefuseMoreBytesThanCanBeStored) {
  // Says that with its name id and type it has so many bytes more than can be stored.
  struct BigValue final : Value {
    explicit BigValue(int64_t excess) : size(static_cast<size_t>(0x7FFFFFFF - 12 + excess)) {}
    uint32_t GetType() const override { return ValueType::Text; }
    size_t GetDataSize() const override { return size; }
    void Write(uint8_t*& /*cursor*/) const override {}
    const size_t size;
  };
  for (const int64_t excess : {0, 1}) {
    AttributeSet set;
    set.SetValue(1, KaSmartPtr<Value>(new BigValue(excess)));
    HostBlock block;
    size_t size = 77;
    EXPECT_EQ(RefusedBlocks([&] { EXPECT_FALSE(EncodeAttributes(set, &block, &size)); }), 1 - excess);
    EXPECT_EQ(size, 77u);
  }
}

TEST_F(ValuesTest, SetsLoadAllRecordsOrNothing) {
  const Bytes bytes = FromHex("010000000000000000000000610000000200000000000000000000006200000003");
  AttributeSet set;
  set.SetValue(99, KaSmartPtr<Value>(new IntValue(1, 0)));
  for (int64_t n = 1; n <= 3; ++n) {
    EXPECT_EQ(set.Order(), std::vector<int64_t>{99});
    calls.Fail({.kind = "Allocate", .nth = n});
    EXPECT_EQ(LoadRecords(bytes.data(), bytes.data() + bytes.size(), &set), n == 3) << n;
    calls.ClearFaults();
  }
  EXPECT_EQ(set.Order(), (std::vector<int64_t>{1, 2}));
}

TEST_F(ValuesTest, RecordsHaveTheseBytes) {
  // Name id, type, unit, count and data of each record, and how many of the bytes are loaded.
  const std::tuple<const char*, std::string, size_t> cases[] = {
      {"02 00 00 00 00 00 00 00 00 00 00 00 61 00 62 00 00 00 "
       "05 00 00 00 00 00 00 00 02 00 00 00 03 00 00 00 07 00 00 00",
       "2 0 0 0 610062000000; 5 2 3 1 07000000; ", 38},
      {"09 00 00 00 00 00 00 00 04 00 00 00 00 00 00 00 02 00 00 00 01 00 00 00 02 00 00 00 03 00 00 00 04 00 00 00",
       "9 4 0 2 01000000020000000300000004000000; ", 36},
      {"04 00 00 00 00 00 00 00 0C 00 00 00 0C 00 00 00 00 00 00 00 00 00 F8 3F", "4 12 12 1 000000000000F83F; ", 24},
      {"050000000000000000000000000000000000000000000000000000000600000000000000000000000000",
       "5 0 0 0 0000; 0 0 0 0 0000; 6 0 0 0 0000; ", 14},
  };
  for (const auto& [hex, expected, loaded] : cases) {
    const Bytes bytes = FromHex(hex);
    std::ostringstream found;
    Record record;
    for (const uint8_t* at = bytes.data(); ReadRecord(at, bytes.data() + bytes.size(), &record); at = record.end) {
      found << record.nameId << ' ' << record.type << ' ' << record.unit << ' ' << record.count << ' '
            << Hex(record.data, static_cast<size_t>(record.end - record.data)) << "; ";
    }
    EXPECT_EQ(found.str(), expected);
    EXPECT_EQ(Reloaded(bytes), Bytes(bytes.data(), bytes.data() + loaded));
  }
}

TEST_F(ValuesTest, RandomRecordsAndTheirPrefixesAreReadAlike) {
  const char* given = std::getenv("KADOM_TEST_SEED");
  const uint64_t seed = given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device{}();
  SCOPED_TRACE("KADOM_TEST_SEED=" + std::to_string(seed));
  std::mt19937_64 random(seed);
  for (int round = 0; round < 100; ++round) {
    std::vector<size_t> starts;
    Bytes bytes;
    for (int64_t nameId = -4; nameId < 12; nameId += static_cast<int64_t>(random() % 8) + 1) {
      starts.push_back(bytes.size());
      const auto type = static_cast<uint32_t>(random() % 22);
      nameId += nameId == 0 ? 1 : 0;
      AppendRecord(random, nameId, type == 1 ? 22 : type, static_cast<int32_t>(random() % 4), &bytes);
    }
    ASSERT_EQ(Reloaded(bytes), bytes);
    ASSERT_EQ(BrokenLaw(bytes), "");
    for (size_t size = bytes.size(); size-- > 0;) {
      while (starts.back() > size) starts.pop_back();
      const Bytes prefix(bytes.data(), bytes.data() + size);
      ASSERT_EQ(Reloaded(prefix), Bytes(bytes.data(), bytes.data() + starts.back()));
      ASSERT_EQ(BrokenLaw(prefix), "") << Hex(prefix.data(), size);
    }
  }
}

TEST_F(ValuesTest, MutatedRecordsAreReadAlike) {
  std::mt19937_64 random(1);
  for (const std::vector<uint32_t>& types : {std::vector<uint32_t>{0, 2, 4, 0}, {7, 9, 3}, {12, 17, 20}}) {
    Bytes bytes;
    for (const uint32_t type : types) AppendRecord(random, type + 1, type, 2, &bytes);
    for (size_t i = 0; i < bytes.size() * 255; ++i) {
      Bytes mutated = bytes;
      mutated[i / 255] = static_cast<uint8_t>(mutated[i / 255] + i % 255 + 1);
      ASSERT_EQ(BrokenLaw(mutated), "") << Hex(mutated.data(), mutated.size());
    }
  }
}

TEST_F(ValuesTest, MalformedRecordsEndTheList) {
  const Bytes first = FromHex("0500000000000000020000000300000007000000");
  const std::tuple<const char*, const char*, int64_t, uint32_t, uint32_t> cases[] = {
      {"cut in the name id", "09000000000000", 0, 1, 0},
      {"cut in the type", "0900000000000000020000", 9, 1, 0},
      {"cut in the unit", "090000000000000002000000030000", 9, 2, 0},
      {"reserved type", "0900000000000000010000000300000007000000", 9, 1, 0},
      {"type after the last", "0900000000000000170000000300000007000000", 9, 23, 3},
      {"negative count", "09000000000000000300000003000000FFFFFFFF", 9, 3, 3},
      {"count past the end", "0900000000000000030000000300000001000000", 9, 3, 3},
      {"count that wraps", "0900000000000000160000000300000000000020", 9, 22, 3},
      {"text without a NUL", "09000000000000000000000061006200", 9, 0, 0},
  };
  for (const auto& [what, hex, nameId, type, unit] : cases) {
    SCOPED_TRACE(what);
    Bytes bytes = FromHex(hex);
    Record record;
    EXPECT_FALSE(ReadRecord(bytes.data(), bytes.data() + bytes.size(), &record));
    EXPECT_EQ(std::tie(record.nameId, record.type, record.unit), std::tie(nameId, type, unit));
    bytes.insert(bytes.begin(), first.begin(), first.end());
    EXPECT_EQ(Reloaded(bytes), first);
    EXPECT_EQ(BrokenLaw(bytes), "");
  }
}

}  // namespace

}  // namespace karst::test

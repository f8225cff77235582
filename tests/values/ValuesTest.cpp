// Values, sets of them, and the records that they are stored in.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "src/module/Attachment.h"
#include "src/values/AttributeSet.h"
#include "src/values/RecordCodec.h"
#include "src/values/Value.h"
#include "tests/support/RecordingHost.h"
#include "tests/values/RecordLaws.h"

namespace karst::test {

using namespace karst::impl;

namespace {

using Ids = std::vector<int64_t>;

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

// Everything that a value answers: type, unit, size and first bytes of the payload, and the getters that answer true.
// Arrays show their count and all numbers.
std::string Describe(const Value& value) {
  std::ostringstream out;
  out.precision(17);
  Bytes payload(value.GetDataSize());
  uint8_t* cursor = payload.data();
  value.Write(cursor);
  EXPECT_EQ(cursor, payload.data() + payload.size());
  out << value.GetType() << '{' << value.GetUnit() << "} " << payload.size() << ':'
      << Hex(payload.data(), std::min<size_t>(payload.size(), 12));

  const KaChar* text = nullptr;
  const KaChar* sizedText = nullptr;
  uint32_t byteSize = 0;
  if (value.GetText(&text) && value.GetTextWithSize(&sizedText, &byteSize) && value.GetTextWithSize(nullptr, nullptr)) {
    out << " text=" << Narrow(text) << '/' << Narrow(sizedText) << '/' << byteSize;
  }
  const auto show = [&](const char* name, auto number, auto getScalar, auto getArray) {
    const decltype(number)* data = nullptr;
    size_t count = 0;
    const size_t before = (value.*getScalar)(&number) ? 4 : 8;
    if (before == 4) out << ' ' << name << '=' << number;
    if (!(value.*getArray)(&data, &count)) return;
    out << ' ' << name << 's' << count;
    for (size_t i = 0; i < (payload.size() - before) / sizeof number; ++i) out << ',' << data[i];
  };
  show("int", int32_t{}, &Value::GetInt, &Value::GetIntArray);
  show("int64", int64_t{}, &Value::GetInt64, &Value::GetInt64Array);
  show("double", double{}, &Value::GetDouble, &Value::GetDoubleArray);
  return out.str();
}

// An array of ones with unit 9.
template <class Number>
KaSmartPtr<Value> Ones(uint32_t type, size_t count) {
  const std::vector<Number> ones(16, 1);
  auto* array = new ArrayValue<Number>(9);
  KaSmartPtr<Value> value(array);
  EXPECT_TRUE(array->Initialize(type, count, ones.data()));
  EXPECT_FALSE(array->Initialize(type, count, ones.data()));
  return value;
}

TEST_F(ValuesTest, AnswerByTheirType) {
  const auto made = [](Value* value) { return KaSmartPtr<Value>(value); };
  const std::pair<KaSmartPtr<Value>, const char*> cases[] = {
      {made(new TextValue(nullptr)), "0{0} 2:0000 text=//2"},
      {made(new TextValue(KA_TEXT(""))), "0{0} 2:0000 text=//2"},
      {made(new TextValue(KA_TEXT("abc"))), "0{0} 8:6100620063000000 text=abc/abc/8"},
      {made(new IntValue(-1, 9)), "2{9} 8:09000000FFFFFFFF int=-1 ints1,-1 int64=-1 double=-1"},
      {made(new Int64Value((int64_t{1} << 53) + 1, 0xFFFFFFFF)),
       "7{4294967295} 12:FFFFFFFF0100000000002000 int64=9007199254740993 int64s1,9007199254740993 "
       "double=9007199254740992"},
      {made(new DoubleValue(1.5, 12)), "12{12} 12:0C000000000000000000F83F double=1.5 doubles1,1.5"},
      {Ones<int32_t>(4, 3), "4{9} 32:090000000300000001000000 ints3,1,1,1,1,1,1"},
      {Ones<int64_t>(9, 2), "9{9} 40:090000000200000001000000 int64s2,1,1,1,1"},
      {Ones<double>(22, 1), "22{9} 136:090000000100000000000000 doubles1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1"},
  };
  const std::string once = "3 Cannot initialize value more than once.";
  EXPECT_EQ(host.TakeLog(), once + "; " + once + "; " + once);
  for (const auto& [value, description] : cases) EXPECT_EQ(Describe(*value), description);
}

template <class Number>
bool Initialize(uint32_t type, uint64_t count, const void* data) {
  const KaSmartPtr<ArrayValue<Number>> array(new ArrayValue<Number>(0));
  return array->Initialize(type, static_cast<size_t>(count), data);
}

TEST_F(ValuesTest, InitializeRefusesBeforeItAllocates) {
  constexpr auto ints = &Initialize<int32_t>;
  constexpr auto longs = &Initialize<int64_t>;
  constexpr auto doubles = &Initialize<double>;
  constexpr uint64_t kMax = 0x7FFFFFFF;
  const struct {
    bool (*initialize)(uint32_t type, uint64_t count, const void* data);
    uint32_t type;
    uint64_t count;
    const char* log;
    int64_t blocks = 0;
  } cases[] = {
      {ints, 2, 1, "3 Invalid value type: 2"},
      {ints, 7, 1, "3 Invalid value type: 7"},
      {ints, 0xFFFFFFFF, 1, "3 Invalid value type: -1"},
      {longs, 12, 1, "3 Invalid value type: 12"},
      {doubles, 12, 1, "3 Invalid value type: 12"},
      {doubles, 23, 1, "3 Invalid value type: 23"},
      {ints, 3, kMax, "", 1},
      {ints, 3, kMax + 1, ""},
      {longs, 8, (uint64_t{1} << 32) + 1, ""},
      {longs, 8, uint64_t{1} << 61, ""},
      {doubles, 22, kMax / 16, "", 1},
      {doubles, 22, kMax / 16 + 1, ""},
  };
  for (const auto& [initialize, type, count, log, blocks] : cases) {
    SCOPED_TRACE(std::to_string(type) + " x " + std::to_string(count));
    EXPECT_EQ(RefusedBlocks([&, f = initialize, t = type, n = count] { EXPECT_FALSE(f(t, n, &cases)); }), blocks);
    EXPECT_EQ(host.TakeLog(), log);
    EXPECT_FALSE(initialize(type, count, nullptr));
    EXPECT_EQ(host.TakeLog(), "");
  }
}

TEST_F(ValuesTest, SetsKeepTheOrderOfEntryAndEncodeById) {
  const KaSmartPtr<Value> replaced(new DoubleValue(1.5, 12));
  AttributeSet set, loaded;
  set.SetValue(5, replaced);
  for (const int64_t id : {-2, 9, 4, 5}) set.SetValue(id, KaSmartPtr<Value>(new IntValue(7, 3)));
  set.RemoveValue(9);
  set.RemoveValue(8);
  EXPECT_EQ(set.Order(), (Ids{5, -2, 4}));
  EXPECT_EQ(replaced->RefCount(), 1);
  EXPECT_TRUE(set.Contains(4) && !set.Contains(9));

  HostBlock block;
  size_t size = 0;
  ASSERT_TRUE(EncodeAttributes(set, &block, &size) && LoadRecords(block.Bytes(), block.Bytes() + size, &loaded));
  EXPECT_EQ(loaded.Order(), (Ids{-2, 4, 5}));
  set.Clear();
  EXPECT_EQ(set.Size() + set.Order().size(), 0u);
  ASSERT_TRUE(EncodeAttributes(set, &block, &size));
  EXPECT_EQ(size, 0u);
  EXPECT_FALSE(block);
}

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

TEST_F(ValuesTest, SetsRefuseMoreBytesThanCanBeStored) {
  for (const int64_t excess : {0, 1}) {
    AttributeSet set;
    set.SetValue(1, KaSmartPtr<Value>(new BigValue(size_t{0x7FFFFFFF} - 12 + static_cast<size_t>(excess))));
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
    EXPECT_TRUE(set.Contains(99));
    calls.Fail({.kind = "Allocate", .nth = n});
    EXPECT_EQ(LoadRecords(bytes.data(), bytes.data() + bytes.size(), &set), n == 3) << n;
    calls.ClearFaults();
  }
  EXPECT_EQ(set.Order(), (Ids{1, 2}));
}

TEST_F(ValuesTest, RecordsHaveTheseBytes) {
  const std::pair<const char*, std::string> cases[] = {
      {"02 00 00 00 00 00 00 00 00 00 00 00 61 00 62 00 00 00 "
       "05 00 00 00 00 00 00 00 02 00 00 00 03 00 00 00 07 00 00 00",
       "#2 0{0} 6:610062000000 text=ab/ab/6 #5 2{3} 8:0300000007000000 int=7 ints1,7 int64=7 double=7 "},
      {"09 00 00 00 00 00 00 00 04 00 00 00 00 00 00 00 02 00 00 00 01 00 00 00 02 00 00 00 03 00 00 00 04 00 00 00",
       "#9 4{0} 24:000000000200000001000000 ints2,1,2,3,4 "},
      {"04 00 00 00 00 00 00 00 0C 00 00 00 0C 00 00 00 00 00 00 00 00 00 F8 3F",
       "#4 12{12} 12:0C000000000000000000F83F double=1.5 doubles1,1.5 "},
  };
  for (const auto& [hex, description] : cases) {
    const Bytes bytes = FromHex(hex);
    AttributeSet set;
    ASSERT_TRUE(LoadRecords(bytes.data(), bytes.data() + bytes.size(), &set));
    std::string loaded;
    for (const auto& [id, value] : set.Values()) loaded += '#' + std::to_string(id) + ' ' + Describe(*value) + ' ';
    EXPECT_EQ(loaded, description);
    EXPECT_EQ(Reloaded(bytes), bytes);
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
      {"cut in the number", "090000000000000002000000030000000700", 9, 2, 3},
      {"name id 0", "0000000000000000020000000300000007000000", 0, 2, 3},
      {"reserved type", "0900000000000000010000000300000007000000", 9, 1, 0},
      {"type after the last", "0900000000000000170000000300000007000000", 9, 23, 3},
      {"highest type", "0900000000000000FFFFFFFF0300000007000000", 9, 0xFFFFFFFF, 3},
      {"negative count", "09000000000000000300000003000000FFFFFFFF", 9, 3, 3},
      {"count past the end", "0900000000000000030000000300000001000000", 9, 3, 3},
      {"count that wraps", "0900000000000000160000000300000000000020", 9, 22, 3},
      {"count cut off", "090000000000000003000000030000000000", 9, 3, 3},
      {"text without a NUL", "09000000000000000000000061006200", 9, 0, 0},
      {"half a NUL", "090000000000000000000000610000", 9, 0, 0},
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

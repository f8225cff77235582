#include "src/values/Value.h"

#include <sstream>

#include "tests/support/Text.h"
#include "tests/values/ValuesTest.h"

namespace karst::test {

using namespace karst::impl;

namespace {

using ValueTest = ValuesTest;

// Everything that a value answers: type, size and first bytes of the payload, and the getters that answer true. Arrays
// show their count and first number.
std::string Describe(const Value& value) {
  std::ostringstream out;
  out.precision(17);
  std::vector<uint8_t> payload(value.GetDataSize());
  uint8_t* cursor = payload.data();
  value.Write(cursor);
  EXPECT_EQ(cursor, payload.data() + payload.size());
  out << value.GetType() << ' ' << payload.size() << ':' << Hex(payload.data(), std::min<size_t>(payload.size(), 12));

  const KaChar* text = nullptr;
  const KaChar* sizedText = nullptr;
  uint32_t byteSize = 0;
  if (value.GetText(&text) && value.GetTextWithSize(&sizedText, &byteSize) && value.GetTextWithSize(nullptr, nullptr)) {
    out << " text=" << Narrow(text) << '/' << Narrow(sizedText) << '/' << byteSize;
  }
  const auto show = [&](const char* name, auto number, auto getScalar, auto getArray) {
    const decltype(number)* data = nullptr;
    size_t count = 0;
    if ((value.*getScalar)(&number)) out << ' ' << name << '=' << number;
    if ((value.*getArray)(&data, &count)) out << ' ' << name << "s=" << count << 'x' << *data;
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

TEST_F(ValueTest, AnswersByItsType) {
  const auto made = [](Value* value) { return KaSmartPtr<Value>(value); };
  const struct {
    KaSmartPtr<Value> value;
    const char* description;
  } cases[] = {
      {made(new TextValue(nullptr)), "0 2:0000 text=//2"},
      {made(new TextValue(KA_TEXT(""))), "0 2:0000 text=//2"},
      {made(new TextValue(KA_TEXT("abc"))), "0 8:6100620063000000 text=abc/abc/8"},
      {made(new IntValue(-1, 9)), "2 8:09000000FFFFFFFF int=-1 ints=1x-1 int64=-1 double=-1"},
      {made(new Int64Value((int64_t{1} << 53) + 1, 0xFFFFFFFF)),
       "7 12:FFFFFFFF0100000000002000 int64=9007199254740993 int64s=1x9007199254740993 double=9007199254740992"},
      {made(new DoubleValue(1.5, 12)), "12 12:0C000000000000000000F83F double=1.5 doubles=1x1.5"},
      {Ones<int32_t>(4, 3), "4 32:090000000300000001000000 ints=3x1"},
      {Ones<int64_t>(9, 2), "9 40:090000000200000001000000 int64s=2x1"},
      {Ones<double>(22, 1), "22 136:090000000100000000000000 doubles=1x1"},
  };
  const std::string once = "3 Cannot initialize value more than once.";
  EXPECT_EQ(host.TakeLog(), once + "; " + once + "; " + once);
  for (const auto& example : cases) EXPECT_EQ(Describe(*example.value), example.description);
}

template <class Number>
bool Initialize(uint32_t type, uint64_t count, const void* data) {
  const KaSmartPtr<ArrayValue<Number>> array(new ArrayValue<Number>(0));
  return array->Initialize(type, static_cast<size_t>(count), data);
}

TEST_F(ValueTest, InitializeRefusesBeforeItAllocates) {
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
      {doubles, 11, kMax + 1, "3 Invalid value type: 11"},
      {doubles, 12, 1, "3 Invalid value type: 12"},
      {doubles, 23, 1, "3 Invalid value type: 23"},
      {ints, 7, 0, ""},
      {ints, 3, kMax, "", 1},
      {ints, 3, kMax + 1, ""},
      {longs, 8, (uint64_t{1} << 32) + 1, ""},
      {longs, 8, uint64_t{1} << 61, ""},
      {longs, 10, kMax / 3, "", 1},
      {longs, 10, kMax / 3 + 1, ""},
      {doubles, 22, kMax / 16, "", 1},
      {doubles, 22, kMax / 16 + 1, ""},
  };
  for (const auto& refused : cases) {
    SCOPED_TRACE(std::to_string(refused.type) + " x " + std::to_string(refused.count));
    const auto attempt = [&] { EXPECT_FALSE(refused.initialize(refused.type, refused.count, &refused)); };
    EXPECT_EQ(RefusedBlocks(attempt), refused.blocks);
    EXPECT_EQ(host.TakeLog(), refused.log);
    EXPECT_FALSE(refused.initialize(refused.type, refused.count, nullptr));
    EXPECT_EQ(host.TakeLog(), "");
  }
}

}  // namespace

}  // namespace karst::test

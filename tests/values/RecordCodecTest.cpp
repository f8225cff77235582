#include "src/values/RecordCodec.h"

#include <cstdlib>

#include "tests/support/Text.h"
#include "tests/values/RecordLaws.h"
#include "tests/values/ValuesTest.h"

namespace karst::test {

namespace {

using RecordCodecTest = ValuesTest;

Bytes FromHex(const std::string& digits) {
  Bytes bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

uint32_t RandomType(std::mt19937_64& random) {
  const auto type = static_cast<uint32_t>(random() % 22);
  return type == 1 ? 22 : type;
}

TEST_F(RecordCodecTest, RandomRecordsAndTheirPrefixesAreReadAlike) {
  const char* given = std::getenv("KADOM_TEST_SEED");
  const uint64_t seed = given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device{}();
  SCOPED_TRACE("KADOM_TEST_SEED=" + std::to_string(seed));
  std::mt19937_64 random(seed);
  for (int round = 0; round < 100; ++round) {
    std::vector<size_t> starts;
    Bytes bytes;
    for (int64_t nameId = -4; nameId < 12; nameId += static_cast<int64_t>(random() % 8) + 1) {
      starts.push_back(bytes.size());
      AppendRecord(random, nameId == 0 ? 1 : nameId, RandomType(random), static_cast<int32_t>(random() % 4), &bytes);
      nameId += nameId == 0 ? 1 : 0;
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

TEST_F(RecordCodecTest, MutatedRecordsAreReadAlike) {
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

TEST_F(RecordCodecTest, MalformedRecordsEndTheList) {
  const Bytes first = FromHex("0500000000000000020000000300000007000000");
  const struct {
    const char* what;
    const char* hex;
    int64_t nameId;
    uint32_t type;
    uint32_t unit;
  } cases[] = {
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
  for (const auto& malformed : cases) {
    SCOPED_TRACE(malformed.what);
    Bytes bytes = FromHex(malformed.hex);
    impl::Record record;
    EXPECT_FALSE(impl::ReadRecord(bytes.data(), bytes.data() + bytes.size(), &record));
    EXPECT_EQ(record.nameId, malformed.nameId);
    EXPECT_EQ(record.type, malformed.type);
    EXPECT_EQ(record.unit, malformed.unit);
    bytes.insert(bytes.begin(), first.begin(), first.end());
    EXPECT_EQ(Reloaded(bytes), first);
    EXPECT_EQ(BrokenLaw(bytes), "");
  }
}

}  // namespace

}  // namespace karst::test

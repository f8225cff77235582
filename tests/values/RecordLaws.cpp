#include "tests/values/RecordLaws.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "src/values/AttributeSet.h"
#include "src/values/DomAttribute.h"

namespace karst::test {

using namespace karst::impl;

namespace {

class Owner final : public KaSmartImpl<KaSmart> {};

// A dictionary in which every id but 5 is unknown.
class FewNames final : public KeywordNames {
 public:
  const KaChar* GetKeywordName(int64_t id) override { return id == 5 ? KA_TEXT("five") : KA_TEXT(""); }
};

// Sets of type codes, as bits.
constexpr uint32_t Types(uint32_t first, uint32_t last) {
  return (1u << (last + 1)) - (1u << first);
}
constexpr uint32_t Types(uint32_t only) {
  return Types(only, only);
}
constexpr uint32_t kScalars = Types(2) | Types(7) | Types(12);

// A getter of arrays: the types that it is for, and how many numbers it counts as one.
template <class Number>
struct ArrayGetter {
  bool (KaDomAttribute::*get)(const Number** data, size_t* count);
  uint32_t types;
  size_t components;
};
constexpr ArrayGetter<int32_t> kIntGetters[] = {{&KaDomAttribute::GetIntArray, Types(2, 6), 1},
                                                {&KaDomAttribute::GetIntArray2, Types(4), 2},
                                                {&KaDomAttribute::GetIntArray3, Types(5), 3},
                                                {&KaDomAttribute::GetIntArray4, Types(6), 4}};
constexpr ArrayGetter<double> kDoubleGetters[] = {{&KaDomAttribute::GetDoubleArray, Types(12, 22), 1},
                                                  {&KaDomAttribute::GetDoubleArray2, Types(14) | Types(17), 2},
                                                  {&KaDomAttribute::GetDoubleArray3, Types(15) | Types(18), 3},
                                                  {&KaDomAttribute::GetDoubleArray4, Types(16) | Types(19), 4}};

// Whether a getter for `types` has to answer on the record.
bool Fits(const Record& record, uint32_t types) {
  return record.IsWellFormed() && (types >> record.type & 1) != 0;
}

template <class Number>
bool Holds(KaDomAttribute& cursor, const ArrayGetter<Number>& getter, const Record& record) {
  const Number* data = nullptr;
  size_t count = 0;
  const bool fits = Fits(record, getter.types);
  if ((cursor.*getter.get)(&data, &count) != fits || (cursor.*getter.get)(nullptr, nullptr) != fits) return false;
  if (!fits) return data == nullptr && count == 0;
  const uint8_t* const numbers = record.begin + (Fits(record, kScalars) ? 16 : 20);
  return reinterpret_cast<const uint8_t*>(data) == numbers &&
         numbers + count * getter.components * sizeof(Number) == record.end;
}

// The same for the number of a scalar, which is copied out.
template <class Number>
bool Holds(KaDomAttribute& cursor, bool (KaDomAttribute::*get)(Number*), uint32_t type, const Record& record) {
  Number value = 77, expected = 77;
  const bool fits = Fits(record, Types(type));
  if (fits) std::memcpy(&expected, record.begin + 16, sizeof expected);
  return (cursor.*get)(&value) == fits && (cursor.*get)(nullptr) == fits &&
         std::memcmp(&value, &expected, sizeof value) == 0;
}

bool StandsOn(KaDomAttribute& cursor, const Record& record) {
  const KaChar* text = nullptr;
  const bool isText = Fits(record, Types(0));
  bool holds = cursor.GetText(&text) == isText && cursor.GetText(nullptr) == isText;
  holds = holds && reinterpret_cast<const uint8_t*>(text) == (isText ? record.begin + 12 : nullptr);
  for (const auto& getter : kIntGetters) holds = holds && Holds(cursor, getter, record);
  for (const auto& getter : kDoubleGetters) holds = holds && Holds(cursor, getter, record);
  return holds && Holds(cursor, &KaDomAttribute::GetInt, 2, record) &&
         Holds(cursor, &KaDomAttribute::GetDouble, 12, record) && !cursor.GetReserved(nullptr) &&
         cursor.GetNameId() == record.nameId && cursor.GetType() == record.type && cursor.GetUnit() == record.unit &&
         cursor.GetName()[0] == (record.nameId == 5 ? 'f' : 0);
}

std::string CheckCursor(KaDomAttribute& cursor, const std::vector<Record>& records) {
  for (size_t i = 0; i < records.size(); ++i) {
    if (i != 0 && !cursor.MoveNext()) return "MoveNext stops before record " + std::to_string(i);
    if (!StandsOn(cursor, records[i])) return "a getter is wrong on record " + std::to_string(i);
  }
  if (cursor.MoveNext()) return "MoveNext goes on at the end";
  for (size_t i = records.size(); i-- > 1;) {
    if (!cursor.MovePrevious()) return "MovePrevious stops at record " + std::to_string(i);
    if (cursor.GetNameId() != records[i - 1].nameId) return "MovePrevious misses a record";
  }
  return cursor.MovePrevious() ? "MovePrevious goes on at the start" : "";
}

}  // namespace

void AppendRecord(std::mt19937_64& random, int64_t nameId, uint32_t type, int32_t count, Bytes* bytes) {
  // Bytes of one element, or text unit, by type code.
  constexpr int32_t kElementSizes[] = {2, 0, 4,  4,  8,  12, 16, 8,  8,  16, 24, 32,
                                       8, 8, 16, 24, 32, 16, 24, 32, 32, 72, 128};
  const auto append = [&](const void* field, size_t size) {
    bytes->insert(bytes->end(), static_cast<const uint8_t*>(field), static_cast<const uint8_t*>(field) + size);
  };
  const bool isScalar = (kScalars >> type & 1) != 0;
  append(&nameId, 8);
  append(&type, 4);
  const auto unit = static_cast<uint32_t>(random());
  if (type != 0) append(&unit, 4);
  if (type != 0 && !isScalar) append(&count, 4);
  // No byte is 0, so that no text ends early.
  for (int32_t left = kElementSizes[type] * (isScalar ? 1 : count); left > 0; --left) {
    bytes->push_back(static_cast<uint8_t>(random() % 255 + 1));
  }
  if (type == 0) bytes->resize(bytes->size() + 2);
}

Bytes Reloaded(const Bytes& bytes) {
  AttributeSet set;
  HostBlock block;
  size_t size = 0;
  const bool done =
      LoadRecords(bytes.data(), bytes.data() + bytes.size(), &set) && EncodeAttributes(set, &block, &size);
  if (!done || (size == 0) == static_cast<bool>(block)) return {0xBA, 0xD0};
  return Bytes(block.Bytes(), block.Bytes() + size);
}

std::string BrokenLaw(const Bytes& bytes) {
  HostBlock block = HostBlock::Allocate(bytes.size());
  const uint8_t* const begin = block.Bytes();
  const uint8_t* const end = begin + bytes.size();
  if (!bytes.empty()) std::memcpy(block.Bytes(), bytes.data(), bytes.size());

  std::vector<Record> records;
  std::map<int64_t, Bytes> last;
  const uint8_t* cursor = begin;
  while (cursor != end) {
    ReadRecord(cursor, end, &records.emplace_back());
    const uint8_t* const start = cursor;
    if (!SkipRecord(cursor, end)) break;
    if (last.count(0) == 0) last[records.back().nameId] = Bytes(start, cursor);
    if (cursor <= start || cursor > end || cursor != records.back().end) return "SkipRecord leaves the record";
  }
  last.erase(0);  // it ends the loader
  Bytes expected;
  for (const auto& [nameId, record] : last) expected.insert(expected.end(), record.begin(), record.end());
  if (Reloaded(bytes) != expected) return "the loader does not take what the walker sees";
  if (Reloaded(expected) != expected) return "encoding is not stable";

  FewNames names;
  const KaSmartPtr<KaSmart> owner(new Owner);
  if (!records.empty()) {
    const KaSmartPtr<KaDomAttribute> attribute(new DomAttribute(owner, &names, std::move(block), bytes.size()));
    std::string broken = owner->RefCount() == 2 ? CheckCursor(*attribute, records) : "the owner is not kept";
    if (!broken.empty()) return broken;
  }
  return owner->RefCount() == 1 ? "" : "the owner is not released";
}

}  // namespace karst::test

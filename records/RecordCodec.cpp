#include "records/RecordCodec.h"

namespace karst::impl {

namespace {

constexpr size_t kTypeOffset = 8;
constexpr size_t kUnitOffset = 12;
constexpr size_t kNumberOffset = 16;
constexpr size_t kCountOffset = 16;
constexpr size_t kElementsOffset = 20;
static_assert(kElementsOffset == kRecordHeaderSize + kArrayHeaderSize);

// Reads the fields that may be reported of any record, as far as their bytes are there.
void ReadHeader(const uint8_t* cursor, size_t size, Record* record) {
  *record = Record();
  record->begin = record->end = cursor;
  if (size >= kTypeOffset) record->nameId = LoadInt64(cursor);
  if (size >= kRecordHeaderSize) record->type = LoadUint32(cursor + kTypeOffset);
  const bool hasUnit = record->type != ValueType::Text && record->type != ValueType::Reserved;
  if (hasUnit && size >= kNumberOffset) record->unit = LoadUint32(cursor + kUnitOffset);
}

// The bytes of the text at `text` with its NUL; 0 when there is no NUL within `size` bytes. Looks at four units at a
// time: moving from record to record has to find the ends of texts.
size_t MeasureText(const uint8_t* text, size_t size) {
  constexpr uint64_t kOnes = 0x0001000100010001;
  constexpr uint64_t kHighBits = 0x8000800080008000;
  size_t offset = 0;
  for (; size - offset >= sizeof(uint64_t); offset += sizeof(uint64_t)) {
    uint64_t units = 0;
    std::memcpy(&units, text + offset, sizeof units);
    const uint64_t zeros = (units - kOnes) & ~units & kHighBits;  // the lowest bit stands in the first unit that is 0
    if (zeros != 0) return offset + (static_cast<size_t>(std::countr_zero(zeros)) + 1) / 8;
  }
  for (; size - offset >= sizeof(KaChar); offset += sizeof(KaChar)) {
    KaChar unit;
    std::memcpy(&unit, text + offset, sizeof unit);
    if (unit == 0) return offset + sizeof unit;
  }
  return 0;
}

size_t DataOffset(const TypeInfo& info) {
  if (info.kind == ValueKind::Text) return kRecordHeaderSize;
  return info.isArray ? kElementsOffset : kNumberOffset;
}

// The bytes of the numbers of a scalar or an array; false for a count that no array has.
bool MeasureNumbers(const TypeInfo& info, int32_t count, uint64_t* byteSize) {
  const int64_t numbers = int64_t{count} * info.components;
  if (numbers < 0 || numbers > std::numeric_limits<int32_t>::max()) return false;
  *byteSize = static_cast<uint64_t>(numbers) * static_cast<uint64_t>(info.width);
  return true;
}

}  // namespace

bool ReadRecord(const uint8_t* cursor, const uint8_t* end, Record* record) {
  const auto size = static_cast<size_t>(end - cursor);
  ReadHeader(cursor, size, record);
  const TypeInfo* const info = FindType(record->type);
  if (info == nullptr || size < DataOffset(*info)) return false;
  const uint8_t* const data = cursor + DataOffset(*info);
  const auto available = static_cast<size_t>(end - data);
  uint64_t byteSize = 0;
  int32_t count = 0;
  if (info->kind == ValueKind::Text) {
    byteSize = MeasureText(data, available);
    if (byteSize == 0) return false;
  } else {
    count = info->isArray ? LoadInt32(cursor + kCountOffset) : 1;
    if (!MeasureNumbers(*info, count, &byteSize) || byteSize > available) return false;
  }
  record->info = info;
  record->count = count;
  record->data = data;
  record->end = data + byteSize;
  return true;
}

bool SkipRecord(const uint8_t*& cursor, const uint8_t* end) {
  Record record;
  if (!ReadRecord(cursor, end, &record)) return false;
  cursor = record.end;
  return true;
}

}  // namespace karst::impl

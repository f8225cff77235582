#include "src/values/RecordCodec.h"

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

// Measures the text at `text` with its NUL. False: there is no NUL within `size` bytes.
bool MeasureText(const uint8_t* text, size_t size, size_t* byteSize) {
  for (size_t offset = 0; size - offset >= sizeof(KaChar); offset += sizeof(KaChar)) {
    KaChar unit;
    std::memcpy(&unit, text + offset, sizeof unit);
    if (unit == 0) {
      *byteSize = offset + sizeof unit;
      return true;
    }
  }
  return false;
}

size_t DataOffset(const TypeInfo& info) {
  if (info.kind == ValueKind::Text) return kRecordHeaderSize;
  return info.isArray ? kElementsOffset : kNumberOffset;
}

// Sets the count and the data of the record that has `size` bytes at most. False: it does not lie within them.
bool LocateData(const uint8_t* cursor, size_t size, const TypeInfo& info, Record* record, size_t* dataSize) {
  const size_t offset = DataOffset(info);
  if (size < offset) return false;
  record->data = cursor + offset;
  const size_t available = size - offset;
  if (info.kind == ValueKind::Text) return MeasureText(record->data, available, dataSize);
  record->count = info.isArray ? LoadInt32(cursor + kCountOffset) : 1;
  if (record->count < 0 || static_cast<uint64_t>(record->count) > MaxCount(info)) return false;
  const uint64_t byteSize = static_cast<uint64_t>(record->NumberCount()) * static_cast<uint64_t>(info.width);
  *dataSize = static_cast<size_t>(byteSize);
  return byteSize <= available;
}

}  // namespace

bool ReadRecord(const uint8_t* cursor, const uint8_t* end, Record* record) {
  const auto size = static_cast<size_t>(end - cursor);
  ReadHeader(cursor, size, record);
  const TypeInfo* info = FindType(record->type);
  if (size < kRecordHeaderSize || record->nameId == 0 || info == nullptr) return false;
  Record candidate = *record;
  candidate.info = info;
  size_t dataSize = 0;
  if (!LocateData(cursor, size, *info, &candidate, &dataSize)) return false;
  candidate.end = candidate.data + dataSize;
  *record = candidate;
  return true;
}

bool SkipRecord(const uint8_t*& cursor, const uint8_t* end) {
  Record record;
  if (!ReadRecord(cursor, end, &record)) return false;
  cursor = record.end;
  return true;
}

}  // namespace karst::impl

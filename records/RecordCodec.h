// Attribute records: how the attributes of one element lie in the file. Depends on nothing, so that anyone can read
// records.
//
// The attributes of an element are one object: its records back to back, with nothing before, between or after them.
// An element without attributes has no object. Numbers are little-endian and nothing is aligned.
//
//   offset  width
//   0       8      name id: signed keyword id of the attribute's name; never 0 in what the encoder writes
//   8       4      type: a code of ValueType
//   12             payload, by the kind of type:
//
//   text    12     UTF-16 units up to and including the first NUL unit
//   scalar  12  4  unit
//           16     the number: int32, int64 or IEEE 754 binary64
//   array   12  4  unit
//           16  4  count of elements, signed, not negative
//           20     count x components numbers, element after element
//
// The encoder writes records in ascending order of their name ids, one for each id. Readers rely on neither. For every
// reader a malformed record is the end of the list: one that reaches past the end of the object, whose type code is
// unknown, whose count is negative or stands for more than 2^31 - 1 numbers, or whose text has no NUL. A record with
// name id 0 is well-formed: readers report it, with an empty name, and go on. It ends the list for the loader alone.
#pragma once

#include <bit>
#include <cstring>
#include <limits>

#include "karst/KaTypes.h"

namespace karst::impl {

// Stored numbers are handed out in place, as numbers of the machine.
static_assert(std::endian::native == std::endian::little, "records are little-endian");
static_assert(sizeof(double) == 8 && std::numeric_limits<double>::is_iec559, "doubles are IEEE 754 binary64");

// What the payload of a type consists of. None: the code has no payload, and no record may carry it.
enum class ValueKind : uint8_t { None, Text, Int, Int64, Double };

// The shape of a type's payload.
struct TypeInfo {
  ValueKind kind = ValueKind::None;
  bool isArray = false;
  int32_t components = 0;  // numbers in one element; 1 for scalars
  int32_t width = 0;       // bytes of one number or text unit
};

constexpr uint32_t kTypeCodeCount = 23;

// The types by code: the one place that knows their shapes.
constexpr TypeInfo kTypes[kTypeCodeCount] = {
    {ValueKind::Text, false, 1, 2},    // Text
    {},                                // Reserved
    {ValueKind::Int, false, 1, 4},     // Int
    {ValueKind::Int, true, 1, 4},      // IntArray
    {ValueKind::Int, true, 2, 4},      // IntArray2
    {ValueKind::Int, true, 3, 4},      // IntArray3
    {ValueKind::Int, true, 4, 4},      // IntArray4
    {ValueKind::Int64, false, 1, 8},   // Int64
    {ValueKind::Int64, true, 1, 8},    // Int64Array
    {ValueKind::Int64, true, 2, 8},    // Int64Array2
    {ValueKind::Int64, true, 3, 8},    // Int64Array3
    {ValueKind::Int64, true, 4, 8},    // Int64Array4
    {ValueKind::Double, false, 1, 8},  // Double
    {ValueKind::Double, true, 1, 8},   // DoubleArray
    {ValueKind::Double, true, 2, 8},   // DoubleArray2
    {ValueKind::Double, true, 3, 8},   // DoubleArray3
    {ValueKind::Double, true, 4, 8},   // DoubleArray4
    {ValueKind::Double, true, 2, 8},   // DoubleArray2B
    {ValueKind::Double, true, 3, 8},   // DoubleArray3B
    {ValueKind::Double, true, 4, 8},   // DoubleArray4B
    {ValueKind::Double, true, 4, 8},   // DoubleArray2x2
    {ValueKind::Double, true, 9, 8},   // DoubleArray3x3
    {ValueKind::Double, true, 16, 8},  // DoubleArray4x4
};

// The shape of `type`, or null for a code that no record may carry.
constexpr const TypeInfo* FindType(uint32_t type) {
  return type < kTypeCodeCount && kTypes[type].kind != ValueKind::None ? &kTypes[type] : nullptr;
}

// The most elements that an array may have: their numbers are counted in a signed 32-bit integer.
constexpr uint64_t MaxCount(const TypeInfo& info) {
  return static_cast<uint64_t>(std::numeric_limits<int32_t>::max() / info.components);
}

// Bytes of the name id and the type code that begin every record.
constexpr size_t kRecordHeaderSize = 12;
// Bytes of an array's payload before its numbers: unit and count.
constexpr size_t kArrayHeaderSize = 8;
// The largest object of records that can be stored.
constexpr uint64_t kMaxRecordsSize = std::numeric_limits<int32_t>::max();

// One record, decoded in place: the pointers point into the bytes that it was read from and may be unaligned.
struct Record {
  int64_t nameId = 0;
  uint32_t type = ValueType::Reserved;
  uint32_t unit = 0;               // 0 for a text
  int32_t count = 0;               // elements; 1 for a scalar, 0 for a text
  const uint8_t* data = nullptr;   // the text, the scalar's number or the array's elements; null when malformed
  const uint8_t* begin = nullptr;  // the record's first byte
  const uint8_t* end = nullptr;    // where the next record begins; same as `begin` when malformed
  const TypeInfo* info = nullptr;  // the shape of `type`; null when the record is malformed

  bool IsWellFormed() const { return info != nullptr; }
  // The numbers of all elements together.
  int64_t NumberCount() const { return info != nullptr ? int64_t{count} * info->components : 0; }
  // The units of a text before its NUL.
  size_t TextLength() const { return static_cast<size_t>(end - data) / sizeof(KaChar) - 1; }
};

// Reads the record at `cursor`, never beyond `end`. False: it is malformed, and `*record` holds what a reader standing
// on it may still report: `nameId`, `type` and `unit` as far as their bytes are there (otherwise 0, Reserved and 0).
bool ReadRecord(const uint8_t* cursor, const uint8_t* end, Record* record);

// Moves `cursor` from the start of a record to the start of the next, which may be `end`. False: the record is
// malformed, and `cursor` stays.
bool SkipRecord(const uint8_t*& cursor, const uint8_t* end);

// Reading and writing of single numbers at any address. Writers advance the cursor; there must be room.

inline uint32_t LoadUint32(const uint8_t* bytes) {
  uint32_t value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

inline int32_t LoadInt32(const uint8_t* bytes) {
  int32_t value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

inline int64_t LoadInt64(const uint8_t* bytes) {
  int64_t value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

inline double LoadDouble(const uint8_t* bytes) {
  double value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

// `data` may be null when `size` is 0.
inline void PutBytes(uint8_t*& cursor, const void* data, size_t size) {
  if (size == 0) return;
  std::memcpy(cursor, data, size);
  cursor += size;
}

inline void PutUint32(uint8_t*& cursor, uint32_t value) {
  PutBytes(cursor, &value, sizeof value);
}

inline void PutInt32(uint8_t*& cursor, int32_t value) {
  PutBytes(cursor, &value, sizeof value);
}

inline void PutInt64(uint8_t*& cursor, int64_t value) {
  PutBytes(cursor, &value, sizeof value);
}

inline void PutDouble(uint8_t*& cursor, double value) {
  PutBytes(cursor, &value, sizeof value);
}

}  // namespace karst::impl

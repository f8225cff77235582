#include "src/values/Value.h"

#include <string>

namespace karst::impl {

namespace {

// The kind of types that hold Numbers.
template <class Number>
constexpr ValueKind kKindOf = ValueKind::None;
template <>
constexpr ValueKind kKindOf<int32_t> = ValueKind::Int;
template <>
constexpr ValueKind kKindOf<int64_t> = ValueKind::Int64;
template <>
constexpr ValueKind kKindOf<double> = ValueKind::Double;

constexpr KaChar kEmptyText[] = {0};

}  // namespace

void IntValue::Write(uint8_t*& cursor) const {
  PutUint32(cursor, GetUnit());
  PutInt32(cursor, value);
}

void Int64Value::Write(uint8_t*& cursor) const {
  PutUint32(cursor, GetUnit());
  PutInt64(cursor, value);
}

void DoubleValue::Write(uint8_t*& cursor) const {
  PutUint32(cursor, GetUnit());
  PutDouble(cursor, value);
}

TextValue::TextValue(const KaChar* text) : byteSize(sizeof(KaChar)) {
  if (text != nullptr) CopyText(text, (std::char_traits<KaChar>::length(text) + 1) * sizeof(KaChar));
}

TextValue::TextValue(const uint8_t* units, size_t byteSize) {
  CopyText(units, byteSize);
}

void TextValue::CopyText(const void* units, size_t size) {
  text = HostBlock::Allocate(size);
  byteSize = text ? size : 0;
  if (text) std::memcpy(text.Bytes(), units, size);
}

void TextValue::Write(uint8_t*& cursor) const {
  PutBytes(cursor, text ? text.Bytes() : static_cast<const void*>(kEmptyText), byteSize);
}

template <class Number>
bool ArrayValue<Number>::Initialize(uint32_t newType, size_t newCount, const void* newData) {
  if (newData == nullptr || newCount == 0) return false;
  const TypeInfo* info = FindType(newType);
  if (info == nullptr || info->kind != kKindOf<Number> || !info->isArray) {
    LogFailure("Invalid value type: %d", static_cast<int32_t>(newType));
    return false;
  }
  if (type != ValueType::Reserved) {
    LogFailure("Cannot initialize value more than once.");
    return false;
  }
  if (newCount > MaxCount(*info)) return false;
  const size_t size = newCount * static_cast<size_t>(info->components) * sizeof(Number);
  data = HostBlock::Allocate(size);
  if (!data) return false;
  std::memcpy(data.Bytes(), newData, size);
  type = newType;
  count = newCount;
  return true;
}

template <class Number>
size_t ArrayValue<Number>::PayloadSize() const {
  const TypeInfo* info = FindType(type);
  return info != nullptr ? count * static_cast<size_t>(info->components) * sizeof(Number) : 0;
}

template <class Number>
void ArrayValue<Number>::Write(uint8_t*& cursor) const {
  PutUint32(cursor, GetUnit());
  PutInt32(cursor, static_cast<int32_t>(count));
  PutBytes(cursor, data.Bytes(), PayloadSize());
}

template class ArrayValue<int32_t>;
template class ArrayValue<int64_t>;
template class ArrayValue<double>;

}  // namespace karst::impl

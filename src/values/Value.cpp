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

template <class Number>
bool HandOutScalar(const Number& value, const Number** data, size_t* count) {
  *data = &value;
  *count = 1;
  return true;
}

}  // namespace

bool Value::GetText(const KaChar** /*text*/) const {
  return false;
}

bool Value::GetTextWithSize(const KaChar** /*text*/, uint32_t* /*byteSize*/) const {
  return false;
}

bool Value::GetInt(int32_t* /*value*/) const {
  return false;
}

bool Value::GetIntArray(const int32_t** /*data*/, size_t* /*count*/) const {
  return false;
}

bool Value::GetInt64(int64_t* /*value*/) const {
  return false;
}

bool Value::GetInt64Array(const int64_t** /*data*/, size_t* /*count*/) const {
  return false;
}

bool Value::GetDouble(double* /*value*/) const {
  return false;
}

bool Value::GetDoubleArray(const double** /*data*/, size_t* /*count*/) const {
  return false;
}

void IntValue::Write(uint8_t*& cursor) const {
  PutUint32(cursor, GetUnit());
  PutInt32(cursor, value);
}

bool IntValue::GetInt(int32_t* out) const {
  *out = value;
  return true;
}

bool IntValue::GetIntArray(const int32_t** data, size_t* count) const {
  return HandOutScalar(value, data, count);
}

bool IntValue::GetInt64(int64_t* out) const {
  *out = value;
  return true;
}

bool IntValue::GetDouble(double* out) const {
  *out = value;
  return true;
}

void Int64Value::Write(uint8_t*& cursor) const {
  PutUint32(cursor, GetUnit());
  PutInt64(cursor, value);
}

bool Int64Value::GetInt64(int64_t* out) const {
  *out = value;
  return true;
}

bool Int64Value::GetInt64Array(const int64_t** data, size_t* count) const {
  return HandOutScalar(value, data, count);
}

bool Int64Value::GetDouble(double* out) const {
  *out = static_cast<double>(value);
  return true;
}

void DoubleValue::Write(uint8_t*& cursor) const {
  PutUint32(cursor, GetUnit());
  PutDouble(cursor, value);
}

bool DoubleValue::GetDouble(double* out) const {
  *out = value;
  return true;
}

bool DoubleValue::GetDoubleArray(const double** data, size_t* count) const {
  return HandOutScalar(value, data, count);
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

bool TextValue::GetText(const KaChar** out) const {
  return GetTextWithSize(out, nullptr);
}

bool TextValue::GetTextWithSize(const KaChar** out, uint32_t* outByteSize) const {
  if (out != nullptr) *out = text ? reinterpret_cast<const KaChar*>(text.Bytes()) : kEmptyText;
  if (outByteSize != nullptr) *outByteSize = static_cast<uint32_t>(byteSize);
  return true;
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

#include "src/values/DomAttribute.h"

namespace karst::impl {

namespace {

template <class T>
void Store(T value, T* out) {
  if (out != nullptr) *out = value;
}

}  // namespace

DomAttribute::DomAttribute(KaSmartPtr<KaSmart> owner, KeywordNames* names, HostBlock buffer, size_t size)
    : owner(std::move(owner)), names(names), buffer(std::move(buffer)), end(this->buffer.Bytes() + size) {
  StandOn(this->buffer.Bytes());
}

const KaChar* DomAttribute::GetName() {
  return names->GetKeywordName(current.nameId);
}

int64_t DomAttribute::GetNameId() {
  return current.nameId;
}

bool DomAttribute::MoveNext() {
  if (!current.IsWellFormed() || current.end == end) return false;
  StandOn(current.end);
  return true;
}

bool DomAttribute::MovePrevious() {
  const uint8_t* candidate = buffer.Bytes();
  if (current.begin == candidate) return false;
  for (const uint8_t* next = candidate; SkipRecord(next, end); candidate = next) {
    if (next == current.begin) {
      StandOn(candidate);
      return true;
    }
  }
  return false;
}

uint32_t DomAttribute::GetType() {
  return current.type;
}

uint32_t DomAttribute::GetUnit() {
  return current.unit;
}

bool DomAttribute::IsA(ValueKind kind, bool isArray) const {
  return current.IsWellFormed() && current.info->kind == kind && current.info->isArray == isArray;
}

template <class Number>
bool DomAttribute::GetTuples(ValueKind kind, int32_t components, const Number** data, size_t* count) const {
  if (!IsA(kind, true) || current.info->components != components) return false;
  Store(reinterpret_cast<const Number*>(current.data), data);
  Store(static_cast<size_t>(current.count), count);
  return true;
}

template <class Number>
bool DomAttribute::GetNumbers(ValueKind kind, const Number** data, size_t* count) const {
  if (!current.IsWellFormed() || current.info->kind != kind) return false;
  Store(reinterpret_cast<const Number*>(current.data), data);
  Store(static_cast<size_t>(current.NumberCount()), count);
  return true;
}

bool DomAttribute::GetText(const KaChar** text) {
  if (!IsA(ValueKind::Text, false)) return false;
  Store(reinterpret_cast<const KaChar*>(current.data), text);
  return true;
}

bool DomAttribute::GetReserved(const void** /*reserved*/) {
  return false;
}

bool DomAttribute::GetInt(int32_t* value) {
  if (!IsA(ValueKind::Int, false)) return false;
  Store(LoadInt32(current.data), value);
  return true;
}

bool DomAttribute::GetIntArray(const int32_t** data, size_t* count) {
  return GetNumbers(ValueKind::Int, data, count);
}

bool DomAttribute::GetIntArray2(const int32_t** data, size_t* count) {
  return GetTuples(ValueKind::Int, 2, data, count);
}

bool DomAttribute::GetIntArray3(const int32_t** data, size_t* count) {
  return GetTuples(ValueKind::Int, 3, data, count);
}

bool DomAttribute::GetIntArray4(const int32_t** data, size_t* count) {
  return GetTuples(ValueKind::Int, 4, data, count);
}

bool DomAttribute::GetDouble(double* value) {
  if (!IsA(ValueKind::Double, false)) return false;
  Store(LoadDouble(current.data), value);
  return true;
}

bool DomAttribute::GetDoubleArray(const double** data, size_t* count) {
  return GetNumbers(ValueKind::Double, data, count);
}

bool DomAttribute::GetDoubleArray2(const double** data, size_t* count) {
  return GetTuples(ValueKind::Double, 2, data, count);
}

bool DomAttribute::GetDoubleArray3(const double** data, size_t* count) {
  return GetTuples(ValueKind::Double, 3, data, count);
}

bool DomAttribute::GetDoubleArray4(const double** data, size_t* count) {
  // A matrix of 2 x 2 has four components and is no quadruple.
  return current.type != ValueType::DoubleArray2x2 && GetTuples(ValueKind::Double, 4, data, count);
}

}  // namespace karst::impl

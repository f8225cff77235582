#include "src/values/AttributeSet.h"

namespace karst::impl {

namespace {

template <class Number>
KaSmartPtr<Value> MakeArray(const Record& record) {
  auto* array = new ArrayValue<Number>(record.unit);
  KaSmartPtr<Value> value(array);
  if (record.count == 0) {
    array->InitializeEmpty(record.type);
  } else if (!array->Initialize(record.type, static_cast<size_t>(record.count), record.data)) {
    value.Reset();
  }
  return value;
}

KaSmartPtr<Value> MakeText(const Record& record) {
  auto* text = new TextValue(record.data, static_cast<size_t>(record.end - record.data));
  KaSmartPtr<Value> value(text);
  if (!text->IsComplete()) value.Reset();
  return value;
}

// The value of a well-formed record, or nothing when the host has no memory.
KaSmartPtr<Value> MakeValue(const Record& record) {
  const bool isArray = record.info->isArray;
  switch (record.info->kind) {
    case ValueKind::Text:
      return MakeText(record);
    case ValueKind::Int:
      if (isArray) return MakeArray<int32_t>(record);
      return KaSmartPtr<Value>(new IntValue(LoadInt32(record.data), record.unit));
    case ValueKind::Int64:
      if (isArray) return MakeArray<int64_t>(record);
      return KaSmartPtr<Value>(new Int64Value(LoadInt64(record.data), record.unit));
    case ValueKind::Double:
      if (isArray) return MakeArray<double>(record);
      return KaSmartPtr<Value>(new DoubleValue(LoadDouble(record.data), record.unit));
    case ValueKind::None:
      break;
  }
  return {};
}

}  // namespace

void AttributeSet::SetValue(int64_t nameId, Value* value) {
  const auto [place, isNew] = values.try_emplace(nameId);
  place->second = KaSmartPtr<Value>(value);
  if (isNew) order.push_back(nameId);
}

void AttributeSet::RemoveValue(int64_t nameId) {
  if (values.erase(nameId) != 0) std::erase(order, nameId);
}

void AttributeSet::Clear() {
  order.clear();
  values.clear();
}

bool LoadRecords(const uint8_t* begin, const uint8_t* end, AttributeSet* set) {
  AttributeSet loaded;
  Record record;
  for (const uint8_t* cursor = begin; ReadRecord(cursor, end, &record); cursor = record.end) {
    const KaSmartPtr<Value> value = MakeValue(record);
    if (!value) return false;
    loaded.SetValue(record.nameId, value.Get());
  }
  *set = std::move(loaded);
  return true;
}

bool EncodeAttributes(const AttributeSet& set, HostBlock* buffer, size_t* size) {
  uint64_t total = uint64_t{kRecordHeaderSize} * set.Size();
  for (const auto& [nameId, value] : set.Values()) total += value->GetDataSize();
  if (total > kMaxRecordsSize) return false;
  HostBlock block;
  if (total != 0) {
    block = HostBlock::Allocate(total);
    if (!block) return false;
  }
  uint8_t* cursor = block.Bytes();
  for (const auto& [nameId, value] : set.Values()) {
    PutInt64(cursor, nameId);
    PutUint32(cursor, value->GetType());
    value->Write(cursor);
  }
  *buffer = std::move(block);
  *size = static_cast<size_t>(total);
  return true;
}

}  // namespace karst::impl

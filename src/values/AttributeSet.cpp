#include "src/values/AttributeSet.h"

#include <algorithm>
#include <map>

#include "common/OutOfMemory.h"

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

// Where an id is, or would have to be.
template <class Values>
auto Find(Values& values, int64_t nameId) {
  return std::lower_bound(values.begin(), values.end(), nameId,
                          [](const auto& entry, int64_t id) { return entry.first < id; });
}

}  // namespace

void AttributeSet::SetValue(int64_t nameId, KaSmartPtr<Value> value) {
  MakeRoom(values);
  MakeRoom(order);
  const auto place = Find(values, nameId);
  if (place != values.end() && place->first == nameId) {
    place->second = std::move(value);
    return;
  }
  values.emplace(place, nameId, std::move(value));
  order.push_back(nameId);
}

void AttributeSet::Assign(Entries records) {
  AttributeSet assigned;
  assigned.order.reserve(records.size());
  const auto isLess = [](const auto& a, const auto& b) { return a.first < b.first; };
  const auto isNotLess = [isLess](const auto& a, const auto& b) { return !isLess(a, b); };
  if (std::adjacent_find(records.begin(), records.end(), isNotLess) == records.end()) {
    for (const auto& record : records) assigned.order.push_back(record.first);
    assigned.values = std::move(records);
  } else {
    std::map<int64_t, KaSmartPtr<Value>> sorted;
    for (auto& [nameId, value] : records) {
      const auto [place, isNew] = sorted.try_emplace(nameId);
      place->second = std::move(value);
      if (isNew) assigned.order.push_back(nameId);
    }
    for (auto& [nameId, value] : sorted) assigned.values.emplace_back(nameId, std::move(value));
  }
  *this = std::move(assigned);
}

void AttributeSet::RemoveValue(int64_t nameId) {
  const auto place = Find(values, nameId);
  if (place == values.end() || place->first != nameId) return;
  values.erase(place);
  std::erase(order, nameId);
}

void AttributeSet::Clear() {
  order.clear();
  values.clear();
}

bool LoadRecords(const uint8_t* begin, const uint8_t* end, AttributeSet* set) {
  AttributeSet::Entries loaded;
  Record record;
  for (const uint8_t* cursor = begin; ReadRecord(cursor, end, &record) && record.nameId != 0; cursor = record.end) {
    KaSmartPtr<Value> value = MakeValue(record);
    if (!value) return false;
    loaded.emplace_back(record.nameId, std::move(value));
  }
  set->Assign(std::move(loaded));
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

// The attribute operations of the element editor: all but LoadAttributes change the working copy alone.
#include "src/editing/DomElementEditor.h"
#include "src/module/WhileAttached.h"

namespace karst::impl {

bool DomElementEditor::LoadAttributes() {
  if (attributes) return true;
  KaDbStatement* select = documentEditor->SelectDataStatement();
  if (select == nullptr) return false;
  const StatementUse use(select);
  AttributeSet set;
  if (!ReadAttributes(select, &set)) return false;
  StartFrom(std::move(set));
  return true;
}

void DomElementEditor::StartFrom(AttributeSet set) {
  attributes = std::move(set);
  renumberings = Keywords().Renumberings();
}

bool DomElementEditor::ReadAttributes(KaDbStatement* select, AttributeSet* set) {
  uint64_t size = 0;
  if (!select->BindInt64(0, elementId) || StepOnce(select) != StepResult::Row || !select->GetBlobSize(0, &size)) {
    return false;
  }
  if (size == 0) return true;
  const HostBlock buffer = HostBlock::Allocate(size);
  if (!buffer || !select->GetBlob(0, buffer.Bytes(), size)) return false;
  return LoadRecords(buffer.Bytes(), buffer.Bytes() + size, set);
}

template <class MakeValue>
bool DomElementEditor::SetValue(const KaChar* name, MakeValue makeValue) {
  return WhileAttached([&] {
    const int64_t nameId = Keywords().InternKeyword(name);
    if (nameId == 0 || !LoadAttributes()) return false;
    KaSmartPtr<Value> value = makeValue();
    if (!value) return false;
    attributes->SetValue(nameId, std::move(value));
    return true;
  });
}

bool DomElementEditor::SetInt(const KaChar* name, int32_t value, uint32_t unit) {
  return SetValue(name, [&] { return KaSmartPtr<Value>(new IntValue(value, unit)); });
}

bool DomElementEditor::SetInt64(const KaChar* name, int64_t value, uint32_t unit) {
  return SetValue(name, [&] { return KaSmartPtr<Value>(new Int64Value(value, unit)); });
}

bool DomElementEditor::SetDouble(const KaChar* name, double value, uint32_t unit) {
  return SetValue(name, [&] { return KaSmartPtr<Value>(new DoubleValue(value, unit)); });
}

bool DomElementEditor::SetText(const KaChar* name, const KaChar* text) {
  if (text == nullptr) return false;
  return SetValue(name, [&] {
    KaSmartPtr<TextValue> value(new TextValue(text));
    if (!value->IsComplete()) value.Reset();
    return value;
  });
}

template <class Array, class Number>
bool DomElementEditor::SetArray(const KaChar* name, const Number* data, uint64_t count, uint32_t type, uint32_t unit) {
  return SetValue(name, [&] {
    KaSmartPtr<Array> value(new Array(unit));
    if (!value->Initialize(type, static_cast<size_t>(count), data)) value.Reset();
    return value;
  });
}

bool DomElementEditor::SetIntArray(const KaChar* name, const int32_t* data, uint64_t count, uint32_t type,
                                   uint32_t unit) {
  return SetArray<IntArrayValue>(name, data, count, type, unit);
}

bool DomElementEditor::SetInt64Array(const KaChar* name, const int64_t* data, uint64_t count, uint32_t type,
                                     uint32_t unit) {
  return SetArray<Int64ArrayValue>(name, data, count, type, unit);
}

bool DomElementEditor::SetDoubleArray(const KaChar* name, const double* data, uint64_t count, uint32_t type,
                                      uint32_t unit) {
  return SetArray<DoubleArrayValue>(name, data, count, type, unit);
}

bool DomElementEditor::RemoveAttribute(const KaChar* name) {
  if (name == nullptr) return false;
  return WhileAttached([&] {
    const int64_t nameId = Keywords().InternKeyword(name);
    if (!LoadAttributes()) return false;
    attributes->RemoveValue(nameId);
    return true;
  });
}

bool DomElementEditor::RemoveAllAttributes() {
  return WhileAttached([&] {
    StartFrom({});
    return true;
  });
}

}  // namespace karst::impl

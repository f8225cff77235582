// The attribute operations of the element editor: all but LoadAttributes change the working copy alone.
#include "src/editing/DomElementEditor.h"

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

bool DomElementEditor::PrepareChange(const KaChar* name, int64_t* nameId) {
  if (!IsAttached()) return false;
  *nameId = Keywords().InternKeyword(name);
  return *nameId != 0 && LoadAttributes();
}

bool DomElementEditor::SetInt(const KaChar* name, int32_t value, uint32_t unit) {
  int64_t nameId = 0;
  if (!PrepareChange(name, &nameId)) return false;
  attributes->SetValue(nameId, KaSmartPtr<Value>(new IntValue(value, unit)));
  return true;
}

bool DomElementEditor::SetInt64(const KaChar* name, int64_t value, uint32_t unit) {
  int64_t nameId = 0;
  if (!PrepareChange(name, &nameId)) return false;
  attributes->SetValue(nameId, KaSmartPtr<Value>(new Int64Value(value, unit)));
  return true;
}

bool DomElementEditor::SetDouble(const KaChar* name, double value, uint32_t unit) {
  int64_t nameId = 0;
  if (!PrepareChange(name, &nameId)) return false;
  attributes->SetValue(nameId, KaSmartPtr<Value>(new DoubleValue(value, unit)));
  return true;
}

bool DomElementEditor::SetText(const KaChar* name, const KaChar* text) {
  int64_t nameId = 0;
  if (text == nullptr || !PrepareChange(name, &nameId)) return false;
  KaSmartPtr<TextValue> value(new TextValue(text));
  if (!value->IsComplete()) return false;
  attributes->SetValue(nameId, std::move(value));
  return true;
}

template <class Array, class Number>
bool DomElementEditor::SetArray(const KaChar* name, const Number* data, uint64_t count, uint32_t type, uint32_t unit) {
  int64_t nameId = 0;
  if (!PrepareChange(name, &nameId)) return false;
  KaSmartPtr<Array> value(new Array(unit));
  if (!value->Initialize(type, static_cast<size_t>(count), data)) return false;
  attributes->SetValue(nameId, std::move(value));
  return true;
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
  if (name == nullptr || !IsAttached()) return false;
  const int64_t nameId = Keywords().InternKeyword(name);
  if (!LoadAttributes()) return false;
  attributes->RemoveValue(nameId);
  return true;
}

bool DomElementEditor::RemoveAllAttributes() {
  if (!IsAttached()) return false;
  StartFrom({});
  return true;
}

}  // namespace karst::impl

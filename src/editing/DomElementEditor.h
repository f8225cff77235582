// The element editor.
#pragma once

#include <optional>

#include "karst/KaDomElementEditor.h"
#include "src/editing/DomDocumentEditor.h"
#include "src/values/AttributeSet.h"

namespace karst::impl {

// Structure changes reach the table at once. Attribute changes collect in a working copy, absent until the first of
// them loads it, which Commit writes.
class DomElementEditor final : public KaSmartImpl<KaDomElementEditor> {
 public:
  // Takes a reference to `documentEditor`.
  DomElementEditor(DomDocumentEditor* documentEditor, int64_t elementId)
      : documentEditor(documentEditor), elementId(elementId) {}

  // Begins the editor's transaction.
  bool Begin() { return transaction.Begin(*documentEditor->Database(), TransactionScope::Kind::Plain); }

  bool Commit() override;
  bool AppendChild(int64_t childId) override;
  bool Rename(const KaChar* name) override;
  bool Reserved1() override { return false; }
  bool Reserved2() override { return false; }
  bool DeleteChild(int64_t childId) override;
  bool DeleteChildren() override;
  bool SetInt64Array(const KaChar* name, const int64_t* data, uint64_t count, uint32_t type, uint32_t unit) override;
  bool SetInt64(const KaChar* name, int64_t value, uint32_t unit) override;
  bool SetIntArray(const KaChar* name, const int32_t* data, uint64_t count, uint32_t type, uint32_t unit) override;
  bool SetInt(const KaChar* name, int32_t value, uint32_t unit) override;
  bool SetDoubleArray(const KaChar* name, const double* data, uint64_t count, uint32_t type, uint32_t unit) override;
  bool SetDouble(const KaChar* name, double value, uint32_t unit) override;
  bool SetText(const KaChar* name, const KaChar* text) override;
  bool RemoveAttribute(const KaChar* name) override;
  bool RemoveAllAttributes() override;

 private:
  ~DomElementEditor() override = default;

  // Stores the value that `makeValue` makes under `name`. False: the name has no id, the working copy cannot be had, or
  // no value was made.
  template <class MakeValue>
  bool SetValue(const KaChar* name, MakeValue makeValue);
  // Makes sure that the working copy is there.
  bool LoadAttributes();
  bool ReadAttributes(KaDbStatement* select, AttributeSet* set);
  template <class Array, class Number>
  bool SetArray(const KaChar* name, const Number* data, uint64_t count, uint32_t type, uint32_t unit);
  bool WriteAttributes();
  // Whether the element `id` has a row and stands above this one. False: it could not be found out.
  bool FindAbove(int64_t id, bool* above);
  bool RunWithChild(KaDbStatement* statement, int64_t childId);

  // Makes `set` the working copy, for which no ids have been taken yet.
  void StartFrom(AttributeSet set);

  DomDatabase* Database() const { return documentEditor->Database(); }
  KeywordDictionary& Keywords() const { return Database()->Keywords(); }

  // The order of members is the order of release, backwards.
  TransactionScope transaction;
  const KaSmartPtr<DomDocumentEditor> documentEditor;
  const int64_t elementId;
  std::optional<AttributeSet> attributes;
  uint64_t renumberings = 0;  // of the keywords, when the working copy was made
};

}  // namespace karst::impl

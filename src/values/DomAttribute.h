// The cursor over stored attributes.
#pragma once

#include "karst/KaDomAttribute.h"
#include "common/KaSmartImpl.h"
#include "records/RecordCodec.h"
#include "src/module/Attachment.h"
#include "src/values/KeywordNames.h"

namespace karst::impl {

// Answers from a copy of the stored records: each record is looked at once, when the cursor arrives on it.
//
// The cursor may come to stand on a malformed record. There it reports name and type as far as their bytes are there,
// every value getter answers false, and so does MoveNext.
class DomAttribute final : public KaSmartImpl<KaDomAttribute> {
 public:
  // Takes over `buffer` with its `size` bytes of records, and stands on the first. `owner` keeps `names` alive.
  DomAttribute(KaSmartPtr<KaSmart> owner, KeywordNames* names, HostBlock buffer, size_t size);

  const KaChar* GetName() override;
  int64_t GetNameId() override;
  bool MoveNext() override;
  bool MovePrevious() override;
  uint32_t GetType() override;
  uint32_t GetUnit() override;
  bool GetText(const KaChar** text) override;
  bool GetReserved(const void** reserved) override;
  bool GetInt(int32_t* value) override;
  bool GetIntArray(const int32_t** data, size_t* count) override;
  bool GetIntArray2(const int32_t** data, size_t* count) override;
  bool GetIntArray3(const int32_t** data, size_t* count) override;
  bool GetIntArray4(const int32_t** data, size_t* count) override;
  bool GetDouble(double* value) override;
  bool GetDoubleArray(const double** data, size_t* count) override;
  bool GetDoubleArray2(const double** data, size_t* count) override;
  bool GetDoubleArray3(const double** data, size_t* count) override;
  bool GetDoubleArray4(const double** data, size_t* count) override;

 private:
  ~DomAttribute() override = default;

  // Makes the record at `position` the current one.
  void StandOn(const uint8_t* position) { ReadRecord(position, end, &current); }
  // Whether the current record is well-formed and of that kind.
  bool IsA(ValueKind kind, bool isArray) const;
  // The array of tuples of `components` Numbers.
  template <class Number>
  bool GetTuples(ValueKind kind, int32_t components, const Number** data, size_t* count) const;
  // The scalar or array as single Numbers.
  template <class Number>
  bool GetNumbers(ValueKind kind, const Number** data, size_t* count) const;

  const KaSmartPtr<KaSmart> owner;
  KeywordNames* const names;
  const HostBlock buffer;
  const uint8_t* const end;
  Record current;
};

}  // namespace karst::impl

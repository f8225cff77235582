// The values of attributes in memory. They live in an AttributeSet only and are never handed out of the module.
#pragma once

#include "common/KaSmartImpl.h"
#include "records/RecordCodec.h"
#include "src/module/Attachment.h"

namespace karst::impl {

// One typed value. It never changes once it is complete. Values are written only: whoever wants to read an attribute
// reads its record, through DomAttribute.
class Value : public KaSmartImpl<KaSmart> {
 public:
  virtual uint32_t GetType() const = 0;
  // The unit code; 0 for a text.
  virtual uint32_t GetUnit() const { return 0; }
  // The number of bytes that Write produces.
  virtual size_t GetDataSize() const = 0;
  // Writes the payload of the value's record at `cursor` and advances it. There must be room.
  virtual void Write(uint8_t*& cursor) const = 0;
};

// A value with a unit code, which is stored and never interpreted.
class ValueWithUnit : public Value {
 public:
  uint32_t GetUnit() const override { return unit; }

 protected:
  explicit ValueWithUnit(uint32_t unit) : unit(unit) {}

 private:
  const uint32_t unit;
};

class IntValue final : public ValueWithUnit {
 public:
  IntValue(int32_t value, uint32_t unit) : ValueWithUnit(unit), value(value) {}

  uint32_t GetType() const override { return ValueType::Int; }
  size_t GetDataSize() const override { return sizeof(uint32_t) + sizeof value; }
  void Write(uint8_t*& cursor) const override;

 private:
  const int32_t value;
};

class Int64Value final : public ValueWithUnit {
 public:
  Int64Value(int64_t value, uint32_t unit) : ValueWithUnit(unit), value(value) {}

  uint32_t GetType() const override { return ValueType::Int64; }
  size_t GetDataSize() const override { return sizeof(uint32_t) + sizeof value; }
  void Write(uint8_t*& cursor) const override;

 private:
  const int64_t value;
};

class DoubleValue final : public ValueWithUnit {
 public:
  DoubleValue(double value, uint32_t unit) : ValueWithUnit(unit), value(value) {}

  uint32_t GetType() const override { return ValueType::Double; }
  size_t GetDataSize() const override { return sizeof(uint32_t) + sizeof value; }
  void Write(uint8_t*& cursor) const override;

 private:
  const double value;
};

class TextValue final : public Value {
 public:
  // Copies `text`; null makes a value without a text, which is stored as an empty one.
  explicit TextValue(const KaChar* text);
  // Copies the `byteSize` bytes at `units`, which may be unaligned: a text with its NUL.
  TextValue(const uint8_t* units, size_t byteSize);

  // False: the host had no memory for the text. Such a value must not be stored.
  bool IsComplete() const { return byteSize != 0; }

  uint32_t GetType() const override { return ValueType::Text; }
  size_t GetDataSize() const override { return byteSize; }
  void Write(uint8_t*& cursor) const override;

 private:
  void CopyText(const void* units, size_t size);

  HostBlock text;       // empty when the value was made from null
  size_t byteSize = 0;  // of the text with its NUL
};

// An array of elements of one or more Numbers (int32_t, int64_t, double) each. Empty until it has been initialised.
template <class Number>
class ArrayValue final : public ValueWithUnit {
 public:
  explicit ArrayValue(uint32_t unit) : ValueWithUnit(unit) {}

  // Copies `count` elements of `type` from `data`, which may be unaligned. False, and nothing is allocated or changed:
  // `data` is null, `count` is 0 or stands for more than 2^31 - 1 numbers; the type is not an array of Numbers
  // ("Invalid value type: %d"); the value is initialised already ("Cannot initialize value more than once."). Also
  // false: the host has no memory. Such a value must not be stored.
  bool Initialize(uint32_t newType, size_t newCount, const void* newData);
  // Makes the value an array without elements, as a stored record may hold one. `newType` is an array of Numbers, and
  // the value is not initialised yet.
  void InitializeEmpty(uint32_t newType) { type = newType; }

  uint32_t GetType() const override { return type; }
  size_t GetDataSize() const override { return kArrayHeaderSize + PayloadSize(); }
  void Write(uint8_t*& cursor) const override;

 private:
  // The bytes of the elements.
  size_t PayloadSize() const;

  HostBlock data;
  size_t count = 0;
  uint32_t type = ValueType::Reserved;  // Reserved: not initialised
};

using IntArrayValue = ArrayValue<int32_t>;
using Int64ArrayValue = ArrayValue<int64_t>;
using DoubleArrayValue = ArrayValue<double>;

extern template class ArrayValue<int32_t>;
extern template class ArrayValue<int64_t>;
extern template class ArrayValue<double>;

}  // namespace karst::impl

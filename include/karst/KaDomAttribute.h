// A read-only cursor over the attributes of one element.
#pragma once

#include "karst/KaDomNode.h"

namespace karst {

// A cursor over the attributes that an element had when the cursor was made, in ascending order of their name ids. It
// owns its copy of them: later commits do not change it, and it outlives the element and every editor.
//
// Every getter answers false and writes nothing when the type of the current attribute does not fit. Its out-arguments
// may be null and are then skipped. Pointers handed out point into the cursor's copy: they stay valid as long as the
// cursor lives, and they may be unaligned. Counts of the tuple getters count tuples; those of GetIntArray and
// GetDoubleArray count single numbers. Nothing is logged. MovePrevious walks from the first attribute.
//
// 64-bit integers report their type, unit and name; this interface has no getter for their values.
class KaDomAttribute : public KaDomNode {
 public:
  // Slot 7. The code of the value's type, see ValueType.
  virtual uint32_t GetType() = 0;
  // Slot 8. The unit code that was stored with the value; 0 for a text.
  virtual uint32_t GetUnit() = 0;
  // Slot 9. Text: the stored text, NUL-terminated.
  virtual bool GetText(const KaChar** text) = 0;
  // Slot 10. Reserved: always false, touches nothing.
  virtual bool GetReserved(const void** reserved) = 0;
  // Slot 11. Int: the value.
  virtual bool GetInt(int32_t* value) = 0;
  // Slot 12. Int: an array of one. IntArray to IntArray4: all numbers of all tuples.
  virtual bool GetIntArray(const int32_t** data, size_t* count) = 0;
  // Slot 13. IntArray2: the pairs.
  virtual bool GetIntArray2(const int32_t** data, size_t* count) = 0;
  // Slot 14. IntArray3: the triples.
  virtual bool GetIntArray3(const int32_t** data, size_t* count) = 0;
  // Slot 15. IntArray4: the quadruples.
  virtual bool GetIntArray4(const int32_t** data, size_t* count) = 0;
  // Slot 16. Double: the value.
  virtual bool GetDouble(double* value) = 0;
  // Slot 17. Double: an array of one. DoubleArray to DoubleArray4x4: all numbers of all tuples.
  virtual bool GetDoubleArray(const double** data, size_t* count) = 0;
  // Slot 18. DoubleArray2 and DoubleArray2B: the pairs.
  virtual bool GetDoubleArray2(const double** data, size_t* count) = 0;
  // Slot 19. DoubleArray3 and DoubleArray3B: the triples.
  virtual bool GetDoubleArray3(const double** data, size_t* count) = 0;
  // Slot 20. DoubleArray4 and DoubleArray4B, not DoubleArray2x2: the quadruples.
  virtual bool GetDoubleArray4(const double** data, size_t* count) = 0;
};

}  // namespace karst

// Write access to one element.
#pragma once

#include "karst/KaDomEditor.h"

namespace karst {

// An editor of one element. It keeps its document editor alive.
//
// Structure operations (slots 4 to 9) reach the file when called. Attribute operations (slots 10 to 18) change a
// working copy, which Commit writes before it commits the transaction; changes made after a successful Commit are
// never stored. Commit also answers false when the working copy encodes to more than 2^31 - 1 bytes; and when a name
// was used that an abandoned transaction had stored, and another connection has given its id to another name since.
// Then no later try succeeds, and a new editor has to make the changes again.
//
// Attribute setters replace whatever value the name had. The caller keeps `name`, `text` and `data`; the editor copies
// them. They answer false and leave the working copy unchanged when `name` is null or empty or cannot be stored
// ("Failed to insert a keyword.", level 3), when the element's attributes cannot be read, or when the host has no
// memory. A unit is any number of the caller's; it is stored and handed back unchanged.
//
// Array setters: `count` counts tuples, not numbers, and `data` holds count x components numbers. They refuse a null
// `data`, a count of 0, a count whose numbers do not fit into a signed 32-bit integer, and a `type` that is not one of
// theirs ("Invalid value type: %d", level 3).
//
// A statement that cannot be prepared logs "Failed to compile SQL statement." at level 3 before the operation's own
// message.
class KaDomElementEditor : public KaDomEditor {
 public:
  // Slot 4. Makes the element `childId` a child of this one, wherever it stood before; what is below it comes along.
  // True also when there is no such element. False: "Cannot append self as a child." or "Failed to append a DOM child
  // element." (level 3), the latter also when the element `childId` stands above this one. That is known only of
  // elements that are there: who appends below an id that no element has yet, and later creates the element of that id,
  // may make a circle. It is accepted. Every operation of the module ends on it, and DeleteChildren answers false.
  virtual bool AppendChild(int64_t childId) = 0;
  // Slot 5. Renames the element. False: "Invalid DOM element name." for a null or empty name, otherwise "Failed to
  // rename a DOM element." (level 3).
  virtual bool Rename(const KaChar* name) = 0;
  // Slot 6. Reserved: always false.
  virtual bool Reserved1() = 0;
  // Slot 7. Reserved: always false.
  virtual bool Reserved2() = 0;
  // Slot 8. Deletes the child `childId`, and nothing below it. True also when it is not a child of this element. False:
  // "Failed to delete a DOM child element." (level 3).
  virtual bool DeleteChild(int64_t childId) = 0;
  // Slot 9. Deletes everything below this element, in a transaction of its own: all of it or, with the answer false,
  // nothing. Logs nothing.
  virtual bool DeleteChildren() = 0;
  // Slot 10. Int64Array to Int64Array4.
  virtual bool SetInt64Array(const KaChar* name, const int64_t* data, uint64_t count, uint32_t type, uint32_t unit) = 0;
  // Slot 11.
  virtual bool SetInt64(const KaChar* name, int64_t value, uint32_t unit) = 0;
  // Slot 12. IntArray to IntArray4.
  virtual bool SetIntArray(const KaChar* name, const int32_t* data, uint64_t count, uint32_t type, uint32_t unit) = 0;
  // Slot 13.
  virtual bool SetInt(const KaChar* name, int32_t value, uint32_t unit) = 0;
  // Slot 14. DoubleArray to DoubleArray4x4.
  virtual bool SetDoubleArray(const KaChar* name, const double* data, uint64_t count, uint32_t type, uint32_t unit) = 0;
  // Slot 15.
  virtual bool SetDouble(const KaChar* name, double value, uint32_t unit) = 0;
  // Slot 16. A null `text` is refused; an empty one is a value.
  virtual bool SetText(const KaChar* name, const KaChar* text) = 0;
  // Slot 17. True also when the element has no such attribute.
  virtual bool RemoveAttribute(const KaChar* name) = 0;
  // Slot 18. Empties the working copy, without reading the element's attributes first.
  virtual bool RemoveAllAttributes() = 0;
};

}  // namespace karst

// The base of every reference-counted interface.
#pragma once

#include "karst/KaTypes.h"

namespace karst {

// An object that lives as long as somebody holds a reference to it.
//
// No interface has a destructor: an object is released, never deleted. Whoever receives an object through an
// out-parameter owns one reference and ends it with Release. An operation writes its out-parameters only on success,
// and does not release what the slot held before.
//
// AddRef and Release may be called from several threads at once; everything else of an object is used by one thread at
// a time.
class KaSmart {
 public:
  // Slot 0. Adds one reference.
  virtual void AddRef() = 0;
  // Slot 1. Gives one reference back. The last one destroys the object: nothing of it may be used afterwards.
  virtual void Release() = 0;
  // Slot 2. The number of references at this moment; for diagnosis only.
  virtual int32_t RefCount() = 0;
};

}  // namespace karst

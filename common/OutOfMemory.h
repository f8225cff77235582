// What is done about memory that ends inside the C++ library.
#pragma once

#include <cstddef>
#include <new>
#include <stdexcept>

namespace karst::impl {

// Runs `body`. False: memory ended on the way. The one place in the module and in kahost where exceptions are caught.
template <class Body>
bool RunWithinMemory(Body&& body) {
  try {
    body();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
}

// Makes room for one more element, so that adding it at the end cannot fail. Grows in proportion, as the vector does.
template <class Vector>
void MakeRoom(Vector& vector) {
  constexpr size_t kLeast = 8;
  if (vector.size() == vector.capacity()) vector.reserve(2 * vector.size() + kLeast);
}

}  // namespace karst::impl

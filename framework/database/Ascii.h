// A short cut for the conversion of SQL texts, which are mostly ASCII.
#pragma once

#include <string>
#include <string_view>

namespace karst::database {

// Copies a text whose units are all ASCII into units of another size. False: they are not, and `*out` is of no use.
template <class From, class To>
bool CopyAscii(std::basic_string_view<From> text, std::basic_string<To>* out) {
  out->resize(text.size());
  unsigned all = 0;
  To* to = out->data();
  for (const From unit : text) {
    all |= static_cast<unsigned>(unit);  // a negative unit sets all bits
    *to++ = static_cast<To>(unit);
  }
  return all < 0x80;
}

}  // namespace karst::database

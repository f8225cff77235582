// The text unit, the value type codes and the small macros that every interface uses.
#pragma once

#include <stddef.h>
#include <stdint.h>

// Checks the arguments of a printf-style member function where the compiler can. `text` and `first` count from 1 and
// include the object itself.
#if defined(__GNUC__)
#define KA_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#else
#define KA_PRINTF_LIKE(text, first)
#endif

// KA_TEXT("…") is a literal of KaChar units.
#if WCHAR_MAX <= 0xFFFF
#define KA_TEXT(literal) L##literal
#else
#define KA_TEXT(literal) u##literal
#endif

namespace karst {

// One UTF-16 code unit: 16 bits on every platform. Wide text is NUL-terminated text of these units.
#if WCHAR_MAX <= 0xFFFF
using KaChar = wchar_t;
#else
using KaChar = char16_t;
#endif
static_assert(sizeof(KaChar) == 2, "wide text has 16-bit units");

// The code page number that means UTF-8.
constexpr uint32_t kCodePageUtf8 = 65001;

// What kind of value an attribute holds. Stored in every record: never renumber.
//
// An array of element shape n holds `count` tuples of n components, component after component, without padding. The B
// families have the shapes of the families before them and differ from them by their code alone.
struct ValueType {
  enum Code : uint32_t {
    Text = 0,          // UTF-16 units, NUL-terminated; has no unit
    Reserved = 1,      // never stored
    Int = 2,           // one int32
    IntArray = 3,      // int32
    IntArray2 = 4,     // 2 x int32
    IntArray3 = 5,     // 3 x int32
    IntArray4 = 6,     // 4 x int32
    Int64 = 7,         // one int64
    Int64Array = 8,    // int64
    Int64Array2 = 9,   // 2 x int64
    Int64Array3 = 10,  // 3 x int64
    Int64Array4 = 11,  // 4 x int64
    Double = 12,       // one IEEE 754 binary64
    DoubleArray = 13,
    DoubleArray2 = 14,
    DoubleArray3 = 15,
    DoubleArray4 = 16,
    DoubleArray2B = 17,
    DoubleArray3B = 18,
    DoubleArray4B = 19,
    DoubleArray2x2 = 20,  // 4 doubles, a family of its own
    DoubleArray3x3 = 21,  // 9 doubles
    DoubleArray4x4 = 22,  // 16 doubles
  };
};

}  // namespace karst

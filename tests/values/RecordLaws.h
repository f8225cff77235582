// What holds for every sequence of bytes that is taken for records: shared by the tests and the fuzz target.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace karst::test {

using Bytes = std::vector<uint8_t>;

// Appends a well-formed record of random contents with `count` elements, or units for a text.
void AppendRecord(std::mt19937_64& random, int64_t nameId, uint32_t type, int32_t count, Bytes* bytes);

// What the set that is loaded from `bytes` encodes to.
Bytes Reloaded(const Bytes& bytes);

// Checks that the walker and the cursor see the same records in `bytes`, the loader those before the first with name id
// 0, that every getter of the cursor answers by the type it stands on and stays inside the bytes, and that what was
// loaded encodes to the same records. Answers what does not hold, or an empty text.
std::string BrokenLaw(const Bytes& bytes);

}  // namespace karst::test

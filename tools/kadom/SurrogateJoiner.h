// Mends UTF-8 in which characters outside the Basic Multilingual Plane stand as two surrogates.
#pragma once

#include <array>
#include <cstddef>

namespace karst::tool {

// KaDom's XML export encodes each UTF-16 unit on its own: such a character becomes six bytes, which no XML reader
// accepts. This filter makes the four bytes of UTF-8 of each pair and leaves every other byte as it is, unpaired
// halves included.
class SurrogateJoiner {
 public:
  // The most bytes that wait for the next piece.
  static constexpr size_t kMaxHeld = 5;

  // Filters the next piece of the stream in place. `buffer` begins with kMaxHeld bytes of room, which belong to the
  // filter, and then holds the `size` bytes of the piece. Answers how many bytes, from the buffer's start, are done.
  // A pair that the end of the piece may have split waits for the next one; nothing waits after the last piece.
  size_t Filter(char* buffer, size_t size, bool isLast);

 private:
  std::array<char, kMaxHeld> held{};
  size_t heldCount = 0;
};

}  // namespace karst::tool

#include "tools/kadom/SurrogateJoiner.h"

#include <cstdint>
#include <cstring>

namespace karst::tool {

namespace {

constexpr size_t kPairSize = 6;

// How many bytes at `bytes` may begin a pair: kPairSize when they are one, 0 when they are none, otherwise the number
// of bytes there are, which end too early to tell.
size_t MatchPair(const char* bytes, size_t available) {
  struct Range {
    uint8_t low;
    uint8_t high;
  };
  static constexpr Range kPattern[kPairSize] = {{0xED, 0xED}, {0xA0, 0xAF}, {0x80, 0xBF},
                                                {0xED, 0xED}, {0xB0, 0xBF}, {0x80, 0xBF}};
  size_t matched = 0;
  for (; matched < kPairSize && matched < available; ++matched) {
    const auto byte = static_cast<uint8_t>(bytes[matched]);
    if (byte < kPattern[matched].low || byte > kPattern[matched].high) return 0;
  }
  return matched;
}

// The lower ten bits of the surrogate in three bytes.
uint32_t SurrogateBits(const char* bytes) {
  return ((static_cast<uint32_t>(bytes[1]) & 0x0F) << 6) | (static_cast<uint32_t>(bytes[2]) & 0x3F);
}

char* WriteJoined(const char* pair, char* out) {
  const uint32_t character = 0x10000 + ((SurrogateBits(pair) << 10) | SurrogateBits(pair + 3));
  *out++ = static_cast<char>(0xF0 | (character >> 18));
  *out++ = static_cast<char>(0x80 | ((character >> 12) & 0x3F));
  *out++ = static_cast<char>(0x80 | ((character >> 6) & 0x3F));
  *out++ = static_cast<char>(0x80 | (character & 0x3F));
  return out;
}

}  // namespace

size_t SurrogateJoiner::Filter(char* buffer, size_t size, bool isLast) {
  const char* const end = buffer + kMaxHeld + size;
  const char* from = buffer + kMaxHeld - heldCount;
  std::memcpy(buffer + kMaxHeld - heldCount, held.data(), heldCount);
  heldCount = 0;

  char* to = buffer;
  while (from < end) {
    const auto* found = static_cast<const char*>(std::memchr(from, 0xED, static_cast<size_t>(end - from)));
    const size_t plain = static_cast<size_t>((found != nullptr ? found : end) - from);
    std::memmove(to, from, plain);
    to += plain;
    from += plain;
    if (found == nullptr) break;

    const size_t matched = MatchPair(from, static_cast<size_t>(end - from));
    if (matched == kPairSize) {
      to = WriteJoined(from, to);
      from += kPairSize;
    } else if (matched > 0 && !isLast) {
      std::memcpy(held.data(), from, matched);
      heldCount = matched;
      break;
    } else {
      *to++ = *from++;
    }
  }
  return static_cast<size_t>(to - buffer);
}

}  // namespace karst::tool

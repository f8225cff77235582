#include "framework/host/StringFactory.h"

#include <cstring>

#include "common/OutOfMemory.h"
#include "common/String.h"
#include "common/Utf.h"

namespace karst::host {

bool StringFactory::CreateString(const KaChar* text, KaString** out) {
  if (out == nullptr) return false;
  return impl::RunWithinMemory([&] { common::String::Create(text != nullptr ? text : common::KaText(), out); });
}

bool StringFactory::ToMultiByte(const KaChar* text, uint32_t codePage, char** out) {
  if (text == nullptr || out == nullptr || codePage != kCodePageUtf8) return false;
  void* block = nullptr;
  impl::RunWithinMemory([&] {
    const auto bytes = common::ToUtf8(text);
    if (bytes) block = allocator.Allocate(bytes->size() + 1);
    if (block != nullptr) std::memcpy(block, bytes->c_str(), bytes->size() + 1);
  });
  if (block != nullptr) *out = static_cast<char*>(block);
  return block != nullptr;
}

}  // namespace karst::host

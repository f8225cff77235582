#include "tests/support/RecordingHost.h"

#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "tests/support/CountedString.h"
#include "tests/support/Text.h"

namespace karst::test {

namespace {

constexpr int kFreshByte = 0xA5;
constexpr int kFreedByte = 0xDD;

std::string ModuleKey(const std::string& name, int32_t version) {
  return name + ' ' + std::to_string(version);
}

}  // namespace

RecordingHost::~RecordingHost() {
  for (const auto& [block, size] : blocks) ::operator delete(block);
}

void RecordingHost::Offer(const std::string& name, int32_t version, KaModule* module) {
  modules[ModuleKey(name, version)] = module;
}

std::string RecordingHost::TakeLog() {
  return std::exchange(log, {});
}

void* RecordingHost::Allocate(uint64_t size) {
  return calls.Admit("Allocate") == Outcome::Forward ? NewBlock(size) : nullptr;
}

void* RecordingHost::NewBlock(uint64_t size) {
  void* block = ::operator new(size, std::nothrow);
  if (block == nullptr) return nullptr;
  std::memset(block, kFreshByte, size);
  blocks[block] = size;
  calls.Born("block");
  return block;
}

void RecordingHost::Free(void* block) {
  if (block == nullptr) return;
  const auto found = blocks.find(block);
  if (found == blocks.end()) {
    calls.Violation("Free of a block that is not, or no longer, from Allocate");
    return;
  }
  std::memset(block, kFreedByte, found->second);
  blocks.erase(found);
  ::operator delete(block);
  calls.Gone("block");
}

KaModule* RecordingHost::GetModule(const char* name, int32_t version) {
  calls.Note("GetModule " + ModuleKey(name, version));
  const auto found = modules.find(ModuleKey(name, version));
  return found == modules.end() ? nullptr : found->second;
}

void RecordingHost::Log(int32_t level, int32_t reserved, const char* format, ...) {
  if (reserved != 0) calls.Violation("Log with a second argument that is not 0");
  char text[4096];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  log += (log.empty() ? "" : "; ") + std::to_string(level) + ' ' + text;
}

bool RecordingHost::CreateString(const KaChar* text, KaString** out) {
  calls.Note("CreateString " + Narrow(text));
  if (calls.Admit("CreateString") != Outcome::Forward) return false;
  CountedString::HandOut(calls, text, out);
  return true;
}

bool RecordingHost::ToMultiByte(const KaChar* text, uint32_t codePage, char** out) {
  if (codePage != kCodePageUtf8) calls.Violation("ToMultiByte with a code page that is not UTF-8");
  if (calls.Admit("ToMultiByte") != Outcome::Forward || text == nullptr) return false;
  const auto bytes = framework::ToUtf8(text);
  if (!bytes) return false;
  void* block = NewBlock(bytes->size() + 1);
  if (block == nullptr) return false;
  std::memcpy(block, bytes->c_str(), bytes->size() + 1);
  *out = static_cast<char*>(block);
  return true;
}

}  // namespace karst::test

// A host that remembers what was said to it and counts what it gave out.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "karst/KaHost.h"
#include "karst/KaModule.h"
#include "karst/KaSmartPtr.h"
#include "common/KaSmartImpl.h"
#include "tests/support/CallLog.h"
#include "tests/support/Text.h"

namespace karst::test {

// A string that the books count.
class CountedString final : public impl::KaSmartImpl<KaString> {
 public:
  CountedString(CallLog& calls, KaText text) : calls(calls), text(std::move(text)) { calls.Born("string"); }
  const KaChar* GetText() override { return text.c_str(); }

 private:
  ~CountedString() override { calls.Gone("string"); }

  void Unlisted3() override { calls.Violation("slot 3 of KaString"); }
  void Unlisted4() override { calls.Violation("slot 4 of KaString"); }
  void Unlisted5() override { calls.Violation("slot 5 of KaString"); }
  void Unlisted6() override { calls.Violation("slot 6 of KaString"); }
  void Unlisted7() override { calls.Violation("slot 7 of KaString"); }
  void Unlisted8() override { calls.Violation("slot 8 of KaString"); }
  void Unlisted9() override { calls.Violation("slot 9 of KaString"); }

  CallLog& calls;
  const KaText text;
};

// The host, its logger and its string factory. Blocks are filled with rubbish when they are handed out. The kinds of
// its calls are "Allocate", "CreateString" and "ToMultiByte". Calls into slots that are not part of the contract,
// foreign or doubled frees, and arguments that are fixed and differ are violations.
class RecordingHost final : public KaHost, private KaLogger, private KaStringFactory {
 public:
  explicit RecordingHost(CallLog& calls) : calls(calls) {}

  // What GetModule answers for "name version"; null takes it back. Borrowed.
  void Offer(const std::string& key, KaModule* module) { modules[key] = module; }

  // The messages since the last TakeLog, each its level and its formatted text, separated by "; ": "3 Invalid DOM
  // element name.".
  std::string TakeLog() { return std::exchange(log, {}); }

  void* Allocate(uint64_t size) override { return calls.Admit("Allocate") ? NewBlock(size) : nullptr; }
  void Free(void* block) override {
    if (block == nullptr) return;
    if (blocks.erase(block) == 0) return calls.Violation("Free of a block that is not, or no longer, from Allocate");
    calls.Gone("block");
  }
  KaModule* GetModule(const char* name, int32_t version) override {
    const std::string key = std::string(name) + ' ' + std::to_string(version);
    calls.Note("GetModule " + key);
    const auto found = modules.find(key);
    return found == modules.end() ? nullptr : found->second;
  }
  KaStringFactory* GetStringFactory() override { return this; }
  KaLogger* GetLogger() override { return this; }

 private:
  void* NewBlock(uint64_t size) {
    constexpr int kRubbish = 0xA5;
    std::unique_ptr<char[]> bytes(new (std::nothrow) char[size]);
    void* block = bytes.get();
    if (block == nullptr) return nullptr;
    std::memset(block, kRubbish, size);
    blocks[block] = std::move(bytes);
    calls.Born("block");
    return block;
  }

  void Log(int32_t level, int32_t reserved, const char* format, ...) override KA_PRINTF_LIKE(4, 5) {
    if (reserved != 0) calls.Violation("Log with a second argument that is not 0");
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    log += (log.empty() ? "" : "; ") + std::to_string(level) + ' ' + text;
  }
  bool CreateString(const KaChar* text, KaString** out) override {
    calls.Note("CreateString " + Narrow(text));
    if (!calls.Admit("CreateString")) return false;
    impl::HandOut(new CountedString(calls, text), out);
    return true;
  }
  bool ToMultiByte(const KaChar* text, uint32_t codePage, char** out) override {
    if (codePage != kCodePageUtf8) calls.Violation("ToMultiByte with a code page that is not UTF-8");
    if (!calls.Admit("ToMultiByte") || text == nullptr) return false;
    const auto bytes = common::ToUtf8(text);
    if (!bytes) return false;
    void* block = NewBlock(bytes->size() + 1);
    if (block == nullptr) return false;
    std::memcpy(block, bytes->c_str(), bytes->size() + 1);
    *out = static_cast<char*>(block);
    return true;
  }

  // Shared by the three interfaces: an unlisted slot has the same name in each.
  void Unlisted0() override { calls.Violation("slot 0 of the host"); }
  void Unlisted1() override { calls.Violation("slot 1 of the host"); }
  void Unlisted2() override { calls.Violation("slot 2 of the host"); }
  void Unlisted3() override { calls.Violation("slot 3 of the host"); }
  void Unlisted4() override { calls.Violation("slot 4 of the host"); }
  void Unlisted7() override { calls.Violation("slot 7 of the host"); }
  void Unlisted8() override { calls.Violation("slot 8 of the host"); }
  void Unlisted9() override { calls.Violation("slot 9 of the host"); }
  void Unlisted11() override { calls.Violation("slot 11 of the host"); }

  CallLog& calls;
  std::string log;
  std::map<void*, std::unique_ptr<char[]>> blocks;
  std::map<std::string, KaModule*> modules;
};

}  // namespace karst::test

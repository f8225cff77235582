// A host that remembers what was said to it and counts what it gave out.
#pragma once

#include <cstdarg>
#include <map>
#include <string>

#include "karst/KaHost.h"
#include "karst/KaModule.h"
#include "tests/support/CallLog.h"

namespace karst::test {

// The host, its logger and its string factory. Blocks are filled with rubbish when they are handed out and again when
// they are given back. The kinds of its calls are "Allocate", "CreateString" and "ToMultiByte". Calls into slots that
// are not part of the contract, foreign or doubled frees, and arguments that are fixed and differ are violations.
class RecordingHost final : public KaHost, private KaLogger, private KaStringFactory {
 public:
  explicit RecordingHost(CallLog& calls) : calls(calls) {}
  RecordingHost(const RecordingHost&) = delete;
  RecordingHost& operator=(const RecordingHost&) = delete;
  ~RecordingHost();

  // What GetModule answers for `name`; null takes it back. Borrowed.
  void Offer(const std::string& name, int32_t version, KaModule* module);

  // The messages since the last TakeLog, each its level and its formatted text, separated by "; ": "3 Invalid DOM
  // element name.".
  std::string TakeLog();

  void* Allocate(uint64_t size) override;
  void Free(void* block) override;
  KaModule* GetModule(const char* name, int32_t version) override;
  KaStringFactory* GetStringFactory() override { return this; }
  KaLogger* GetLogger() override { return this; }

 private:
  void* NewBlock(uint64_t size);

  void Log(int32_t level, int32_t reserved, const char* format, ...) override KA_PRINTF_LIKE(4, 5);
  bool CreateString(const KaChar* text, KaString** out) override;
  bool ToMultiByte(const KaChar* text, uint32_t codePage, char** out) override;

  // Shared by the three interfaces: an unlisted slot has the same name in each.
  void Unlisted0() override { calls.Violation("unlisted slot 0 of the host"); }
  void Unlisted1() override { calls.Violation("unlisted slot 1 of the host"); }
  void Unlisted2() override { calls.Violation("unlisted slot 2 of the host"); }
  void Unlisted3() override { calls.Violation("unlisted slot 3 of the host"); }
  void Unlisted4() override { calls.Violation("unlisted slot 4 of the host"); }
  void Unlisted7() override { calls.Violation("unlisted slot 7 of the host"); }
  void Unlisted8() override { calls.Violation("unlisted slot 8 of the host"); }
  void Unlisted9() override { calls.Violation("unlisted slot 9 of the host"); }
  void Unlisted11() override { calls.Violation("unlisted slot 11 of the host"); }

  CallLog& calls;
  std::string log;
  std::map<void*, uint64_t> blocks;
  std::map<std::string, KaModule*> modules;
};

}  // namespace karst::test

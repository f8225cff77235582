// A logger that formats messages and passes them to a sink.
#pragma once

#include <functional>
#include <string_view>

#include "karst/KaHost.h"

namespace karst::host {

// Takes one formatted message, without a line end.
using LogSink = std::function<void(int32_t level, std::string_view message)>;

// The higher its level, the graver a message. Used by one thread at a time.
class Logger final : public KaLogger {
 public:
  // Writes "LEVEL: MESSAGE" lines to standard error.
  Logger();

  // Messages of a lower level are dropped from now on. At first none are.
  void SetThreshold(int32_t level) { threshold = level; }

  // Replaces the sink. An empty sink restores the first one.
  void SetSink(LogSink newSink);

  // Never throws: when memory ends, the end of a long message is lost, or the whole message if the sink needs memory.
  void Log(int32_t level, int32_t reserved, const char* format, ...) override KA_PRINTF_LIKE(4, 5);

 private:
  void Unlisted0() override {}
  void Unlisted1() override {}
  void Unlisted2() override {}
  void Unlisted3() override {}
  void Unlisted4() override {}

  int32_t threshold = INT32_MIN;
  LogSink sink;
};

}  // namespace karst::host

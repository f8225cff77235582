#include "framework/host/Logger.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

namespace karst::host {

namespace {

void WriteToStandardError(int32_t level, std::string_view message) {
  std::fprintf(stderr, "%d: %.*s\n", level, static_cast<int>(message.size()), message.data());
}

// The formatted text; the format itself when the C library cannot format it.
std::string FormatMessage(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  std::string text(255, '\0');
  int length = std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  if (length > static_cast<int>(text.size())) {
    text.resize(static_cast<size_t>(length));
    length = std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  if (length < 0) return format;
  text.resize(static_cast<size_t>(length));
  return text;
}

}  // namespace

Logger::Logger() : sink(WriteToStandardError) {}

void Logger::SetSink(LogSink newSink) {
  sink = newSink ? std::move(newSink) : LogSink(WriteToStandardError);
}

void Logger::Log(int32_t level, int32_t /*reserved*/, const char* format, ...) {
  if (level < threshold || format == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  const std::string message = FormatMessage(format, arguments);
  va_end(arguments);
  sink(level, message);
}

}  // namespace karst::host

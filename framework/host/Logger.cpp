#include "framework/host/Logger.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>
#include <utility>

#include "common/OutOfMemory.h"

namespace karst::host {

namespace {

void WriteToStandardError(int32_t level, std::string_view message) {
  std::fprintf(stderr, "%d: %.*s\n", level, static_cast<int>(message.size()), message.data());
}

// A message in a buffer of its own, or in memory when it is longer. The end of a message that finds none is cut off.
class Message {
 public:
  // The format itself is the message when the C library cannot format it.
  Message(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    if (length < 0) {
      text = format;
    } else {
      text = {buffer, std::min(static_cast<size_t>(length), sizeof buffer - 1)};
      const size_t size = static_cast<size_t>(length) + 1;
      if (size > sizeof buffer) whole.reset(new (std::nothrow) char[size]);
      if (whole && std::vsnprintf(whole.get(), size, format, again) == length) text = {whole.get(), size - 1};
    }
    va_end(again);
  }

  std::string_view Text() const { return text; }

 private:
  char buffer[512];
  std::unique_ptr<char[]> whole;
  std::string_view text;
};

}  // namespace

Logger::Logger() : sink(WriteToStandardError) {}

void Logger::SetSink(LogSink newSink) {
  sink = newSink ? std::move(newSink) : LogSink(WriteToStandardError);
}

void Logger::Log(int32_t level, int32_t /*reserved*/, const char* format, ...) {
  if (level < threshold || format == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  const Message message(format, arguments);
  va_end(arguments);
  // A sink that finds no memory loses the message.
  impl::RunWithinMemory([&] { sink(level, message.Text()); });
}

}  // namespace karst::host

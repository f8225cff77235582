#include "tools/kadom/Progress.h"

#include <cstdio>
#include <string>

#include "tools/kadom/Text.h"

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace karst::tool {

namespace {

constexpr std::chrono::milliseconds kInterval{200};
constexpr uint64_t kMebibyte = uint64_t{1024} * 1024;

bool IsTerminal() {
#if defined(_WIN32)
  return _isatty(_fileno(stderr)) != 0;
#else
  return isatty(STDERR_FILENO) != 0;
#endif
}

std::string Position(uint64_t bytesRead, uint64_t size) {
  if (size == 0 || bytesRead > size) return std::to_string(bytesRead / kMebibyte) + " MiB";
  return std::to_string(static_cast<uint64_t>(static_cast<double>(bytesRead) / static_cast<double>(size) * 100)) + " %";
}

}  // namespace

Progress::Progress() : isShown(IsTerminal()), next(Clock::now() + kInterval) {}

void Progress::Show(uint64_t bytesRead, uint64_t size, uint64_t elements) {
  if (!isShown || Clock::now() < next) return;
  next = Clock::now() + kInterval;
  hasLine = true;
  // Blanks cover what a longer line may have left.
  std::fprintf(stderr, "\r%s, %s   ", Position(bytesRead, size).c_str(), Counted(elements, "element").c_str());
  std::fflush(stderr);
}

void Progress::Erase() {
  if (!hasLine) return;
  hasLine = false;
  std::fprintf(stderr, "\r%60s\r", "");
  std::fflush(stderr);
}

}  // namespace karst::tool

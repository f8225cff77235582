// A line on a terminal that shows how far a long command has come.
#pragma once

#include <chrono>
#include <cstdint>

namespace karst::tool {

// Writes to standard error, a few times a second, and only when that is a terminal. The line goes away at the end.
class Progress {
 public:
  Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { Erase(); }

  // `size` is 0 when it is not known.
  void Show(uint64_t bytesRead, uint64_t size, uint64_t elements);

  void Erase();

 private:
  using Clock = std::chrono::steady_clock;

  const bool isShown;
  bool hasLine = false;
  Clock::time_point next;
};

}  // namespace karst::tool

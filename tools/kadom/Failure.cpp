#include "tools/kadom/Failure.h"

#include <cstdio>
#include <exception>
#include <new>

#include "tools/kadom/Interrupt.h"
#include "tools/kadom/Text.h"

namespace karst::tool {

namespace {

// As a shell shows a process that the signal PIPE has ended.
constexpr int kBrokenPipeStatus = 141;

}  // namespace

int ReportException() noexcept {
  try {
    throw;
  } catch (const Interrupted& interrupted) {
    std::fprintf(stderr, "kadom: interrupted\n");
    return interrupted.status;
  } catch (const BrokenPipe&) {
    return kBrokenPipeStatus;
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "kadom: out of memory\n");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kadom: %s\n", OneLine(error.what()).c_str());
  }
  return 1;
}

}  // namespace karst::tool

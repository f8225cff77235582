#include "tools/kadom/Output.h"

#include <cstdio>

#include "tools/kadom/File.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

namespace karst::tool {

namespace {

Failure OutputFailure() {
  return Failure("standard output: " + LatestError());
}

}  // namespace

Output::Output() {
#if defined(_WIN32)
  _setmode(_fileno(stdout), _O_BINARY);
#endif
}

void Output::Write(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) throw OutputFailure();
}

void Output::Finish() {
  if (std::fflush(stdout) != 0) throw OutputFailure();
}

}  // namespace karst::tool

// kadom: the command line tool for DOM database files.

#include <cstdio>
#include <exception>
#include <new>

#include "tools/kadom/CommandLine.h"
#include "tools/kadom/Text.h"

int main(int argc, char** argv) {
  using namespace karst::tool;
  try {
    return RunCommandLine(ProgramArguments(argc, argv));
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "kadom: out of memory\n");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kadom: %s\n", OneLine(error.what()).c_str());
  }
  return 1;
}

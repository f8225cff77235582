// kadom: the command line tool for DOM database files.

#include "tools/kadom/CommandLine.h"
#include "tools/kadom/Failure.h"

int main(int argc, char** argv) {
  using namespace karst::tool;
  try {
    return RunCommandLine(ProgramArguments(argc, argv));
  } catch (...) {
    return ReportException();
  }
}

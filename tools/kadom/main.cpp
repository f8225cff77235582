// kadom: the command line tool for DOM database files.

#include "tools/kadom/CommandLine.h"
#include "tools/kadom/Failure.h"
#include "tools/kadom/System.h"

int main(int argc, char** argv) {
  using namespace karst::tool;
  system::OccupyStandardDescriptors();
  try {
    return RunCommandLine(ProgramArguments(argc, argv));
  } catch (...) {
    return ReportException();
  }
}

// The command line: what the user may ask for.
#pragma once

#include <string>
#include <vector>

namespace karst::tool {

// The arguments of the program, in UTF-8, without the program's own name.
std::vector<std::string> ProgramArguments(int argc, char** argv);

// Runs the command that the arguments ask for and answers the program's exit code. Failure passes through; wrong usage
// is reported here.
int RunCommandLine(std::vector<std::string> arguments);

}  // namespace karst::tool

// How a command fails.
#pragma once

#include <stdexcept>

namespace karst::tool {

// Ends the command; the message becomes the one line that the user sees.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Nobody reads any more what the command writes, as when a pager ends. The user sees no message.
class BrokenPipe : public Failure {
 public:
  using Failure::Failure;
};

// Tells the user about the exception that is being handled, and answers the status with which the process ends. To be
// called in a catch block.
int ReportException() noexcept;

}  // namespace karst::tool

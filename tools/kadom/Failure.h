// How a command fails.
#pragma once

#include <stdexcept>

namespace karst::tool {

// Ends the command; the message becomes the one line that the user sees.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace karst::tool

// Standard output, written so that nothing gets lost unnoticed.
#pragma once

#include <string_view>

namespace karst::tool {

// Both throw Failure when the output does not take what is written.
class Output {
 public:
  Output();

  void Write(std::string_view bytes);
  // Call it at the end of a command: only then everything is known to be written.
  void Finish();
};

}  // namespace karst::tool

// Keeps what the modules log, to explain a failure with.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace karst::tool {

// Modules report failed operations at this level, and graver things above it.
constexpr int32_t kFailureLevel = 3;

class LogKeeper {
 public:
  // With `isVerbose` every message is also written to standard error.
  explicit LogKeeper(bool isVerbose) : verbose(isVerbose) {}

  void Add(int32_t level, std::string_view message);

  // The first failure that was logged since the last Forget, in short; what follows comes of it. Empty when there is
  // none.
  const std::string& Explanation() const { return explanation; }

  void Forget() { explanation.clear(); }

 private:
  bool verbose;
  std::string explanation;
};

}  // namespace karst::tool

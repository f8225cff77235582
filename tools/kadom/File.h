// A file, pipe or device, with the name under which the user knows it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "tools/kadom/Failure.h"
#include "tools/kadom/System.h"

namespace karst::tool {

// Nothing is buffered. Operations throw Failure, "NAME: reason", in the system's words, and Interrupted when a signal
// comes while they wait.
class File {
 public:
  // Takes the descriptor over. `shownName` stands for the file in messages.
  File(system::Descriptor opened, std::string shownName) : descriptor(opened), name(std::move(shownName)) {}
  File(File&& other) noexcept
      : descriptor(std::exchange(other.descriptor, system::kNone)), name(std::move(other.name)) {}
  File& operator=(File&&) = delete;
  ~File() { Close(); }

  // Both may wait for the other end of a FIFO.
  static File OpenToRead(const std::filesystem::path& path);
  static File OpenToWrite(const std::filesystem::path& path);
  static File StandardOutput();

  // Reads up to `size` bytes; 0 at the end.
  size_t Read(char* buffer, size_t size);
  // Throws BrokenPipe when nobody reads the pipe any more.
  void Write(std::string_view bytes);

  system::Descriptor Get() const { return descriptor; }
  // Takes a descriptor over in place of the one before.
  void Take(system::Descriptor opened) {
    Close();
    descriptor = opened;
  }
  void Close();

 private:
  system::Descriptor descriptor;
  std::string name;
};

// "PATH: reason".
Failure FileFailure(const std::string& name, const std::string& reason);

// "PATH: reason" with the system's words for the latest error of the C library.
Failure LatestFileFailure(const std::string& name);

// The system's words for the latest error of the C library.
std::string LatestError();

}  // namespace karst::tool

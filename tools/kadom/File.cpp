#include "tools/kadom/File.h"

#include <cerrno>
#include <system_error>

#include "common/PathText.h"
#include "tools/kadom/Interrupt.h"

namespace karst::tool {

namespace {

template <class Open>
File OpenNamed(const std::filesystem::path& path, Open open) {
  std::string name = common::PathText(path);
  const system::Descriptor opened = Await([&] { return open(path); });
  if (opened < 0) throw LatestFileFailure(name);
  return {opened, std::move(name)};
}

}  // namespace

File File::OpenToRead(const std::filesystem::path& path) {
  return OpenNamed(path, system::OpenToRead);
}

File File::OpenToWrite(const std::filesystem::path& path) {
  return OpenNamed(path, system::OpenToWrite);
}

File File::StandardOutput() {
  return {system::OpenStandardOutput(), "standard output"};
}

size_t File::Read(char* buffer, size_t size) {
  const ptrdiff_t done = Await([&] { return system::Read(descriptor, buffer, size); });
  if (done < 0) throw LatestFileFailure(name);
  return static_cast<size_t>(done);
}

void File::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ptrdiff_t done = Await([&] { return system::Write(descriptor, bytes.data(), bytes.size()); });
    if (done < 0 && errno == EPIPE) throw BrokenPipe(name);
    if (done < 0) throw LatestFileFailure(name);
    bytes.remove_prefix(static_cast<size_t>(done));
  }
}

void File::Close() {
  if (descriptor != system::kNone) system::Close(std::exchange(descriptor, system::kNone));
}

Failure FileFailure(const std::string& name, const std::string& reason) {
  return Failure(name + ": " + reason);
}

Failure LatestFileFailure(const std::string& name) {
  return FileFailure(name, LatestError());
}

std::string LatestError() {
  return std::error_code(errno, std::generic_category()).message();
}

}  // namespace karst::tool

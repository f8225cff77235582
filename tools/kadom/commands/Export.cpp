#include <random>
#include <system_error>

#include "karst/KaDomElement.h"
#include "framework/host/PathText.h"
#include "tools/kadom/Files.h"
#include "tools/kadom/InputFile.h"
#include "tools/kadom/Output.h"
#include "tools/kadom/Session.h"
#include "tools/kadom/commands/Commands.h"

namespace karst::tool {

namespace fs = std::filesystem;

namespace {

// A folder of this process alone, for an export on its way to something that is not a plain file.
class PrivateFolder {
 public:
  PrivateFolder() {
    std::error_code error;
    path = fs::temp_directory_path(error) / ("kadom-" + std::to_string(std::random_device()()));
    if (!error && !fs::create_directory(path, error) && !error) error = std::make_error_code(std::errc::file_exists);
    if (!error) fs::permissions(path, fs::perms::owner_all, error);
    if (error) throw FileFailure(path, error.message());
  }
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;
  ~PrivateFolder() {
    std::error_code error;
    fs::remove_all(path, error);
  }

  const fs::path& Path() const { return path; }

 private:
  fs::path path;
};

// How the export of an element ends.
std::string ExpectedEnd(KaDomElement& root) {
  if (!root.GetFirstChild(nullptr)) return "/>\r\n";
  const auto name = framework::ToUtf8(root.GetName());
  return name ? "\r\n</" + *name + ">\r\n" : ">\r\n";
}

std::string LastBytes(const fs::path& path, size_t count) {
  const File file = OpenFile(path, "rb");
  std::string bytes(count, '\0');
  if (std::fseek(file.get(), -static_cast<int>(count), SEEK_END) != 0) return {};
  bytes.resize(std::fread(bytes.data(), 1, count, file.get()));
  return bytes;
}

// Exporting reports no write errors, so the end of the file tells whether all of it is there.
void ExportToFile(const Session& session, KaDomElement& root, const fs::path& path) {
  const std::string end = ExpectedEnd(root);
  if (!root.ExportXml(PathForModule(path).c_str())) throw FileFailure(path, "cannot be written");
  session.CheckComplete();
  if (LastBytes(path, end.size()) != end) throw FileFailure(path, "cannot be written to its end");
}

// A plain file. One that was not there before is removed when the export fails.
void ExportToPlainFile(const Session& session, KaDomElement& root, const fs::path& path, bool existed) {
  OpenFile(path, "ab").reset();  // says in the system's words why it cannot be written
  try {
    ExportToFile(session, root, path);
  } catch (const Failure&) {
    std::error_code error;
    if (!existed) fs::remove(path, error);
    throw;
  }
}

// Copies a file to where bytes can only be appended. `write` throws when they are not taken.
template <class Write>
void Copy(const fs::path& from, Write write) {
  InputFile input(from);
  std::string buffer(size_t{64} * 1024, '\0');
  while (const size_t size = input.Read(buffer.data(), buffer.size())) write(std::string_view(buffer).substr(0, size));
}

void CopyToStandardOutput(const fs::path& from) {
  Output output;
  Copy(from, [&](std::string_view bytes) { output.Write(bytes); });
  output.Finish();
}

void CopyToDevice(const fs::path& from, const fs::path& path) {
  const File file = OpenFile(path, "wb");
  const auto check = [&](bool isWritten) {
    if (!isWritten) throw FileFailure(path, LatestError());
  };
  Copy(from,
       [&](std::string_view bytes) { check(std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size()); });
  check(std::fflush(file.get()) == 0);
}

}  // namespace

void Export(const Target& target, const fs::path& output) {
  std::error_code error;
  Session session(target.verbose);
  session.OpenExisting(target.file, Access::Read);
  const KaSmartPtr<KaDomDocument> document = session.OpenDocument(target.document);
  KaSmartPtr<KaDomElement> root;
  if (!document->GetRootElement(root.Out())) throw session.Fail("the root element cannot be read");

  const fs::file_status status = fs::status(output, error);
  if (!output.empty() && (!fs::exists(status) || fs::is_regular_file(status))) {
    if (fs::equivalent(output, target.file, error)) throw FileFailure(output, "this is the database itself");
    ExportToPlainFile(session, *root, output, fs::exists(status));
    return;
  }
  const PrivateFolder folder;
  const fs::path copy = folder.Path() / "export.xml";
  ExportToFile(session, *root, copy);
  if (output.empty()) {
    CopyToStandardOutput(copy);
  } else {
    CopyToDevice(copy, output);
  }
}

}  // namespace karst::tool

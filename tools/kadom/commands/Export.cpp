#include <cstdlib>
#include <system_error>

#include "karst/KaDomElement.h"
#include "common/PathText.h"
#include "tools/kadom/ExportPump.h"
#include "tools/kadom/File.h"
#include "tools/kadom/Interrupt.h"
#include "tools/kadom/PrivateFile.h"
#include "tools/kadom/Session.h"
#include "tools/kadom/commands/Commands.h"

namespace karst::tool {

namespace fs = std::filesystem;

namespace {

// How the export of an element ends.
std::string ExpectedEnd(KaDomElement& root) {
  if (!root.GetFirstChild(nullptr)) return "/>\r\n";
  const auto name = common::ToUtf8(root.GetName());
  return name ? "\r\n</" + *name + ">\r\n" : ">\r\n";
}

// Ends the process from within the handler of what has ended the export.
[[noreturn]] void EndAtOnce(PrivateFile* unfinished) {
  if (unfinished != nullptr) unfinished->Remove();
  std::_Exit(ReportException());
}

// Writes everything to `output`. Exporting reports no errors, so its end tells whether all of it is there.
void ExportTo(File& output, const Session& session, KaDomElement& root, PrivateFile* unfinished) {
  const std::string end = ExpectedEnd(root);
  const std::string tail = PumpExport(
      root, end.size(), [&](std::string_view bytes) { output.Write(bytes); }, [&] { EndAtOnce(unfinished); });
  session.CheckComplete();
  if (tail != end) throw session.Fail("the document could not be read to its end");
}

// Such a file is replaced at the end by one that is whole.
void ExportToPlainFile(const Session& session, KaDomElement& root, const fs::path& path) {
  std::error_code error;
  if (fs::equivalent(path, session.Path(), error)) {
    throw FileFailure(common::PathText(path), "this is the database itself");
  }
  if (fs::exists(path, error)) File::OpenToWrite(path).Close();  // says in the system's words why it cannot be written
  const fs::path target = system::FollowLinks(path);
  ClearLeftovers(target);
  PrivateFile file(target, common::PathText(path));
  ExportTo(file.Content(), session, root, &file);
  CheckInterrupt();
  file.Replace();
}

bool IsPlainPlace(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  return !system::IsDeviceName(path) && (!fs::exists(status) || fs::is_regular_file(status));
}

}  // namespace

void Export(const Target& target, const fs::path& output) {
  InterruptWatch watch;
  Session session(target.file, target.verbose);
  session.OpenExisting(Access::Read);
  const KaSmartPtr<KaDomDocument> document = session.OpenDocument(target.document);
  KaSmartPtr<KaDomElement> root;
  if (!document->GetRootElement(root.Out())) throw session.Fail("the root element cannot be read");

  if (output.empty() || system::IsStandardOutput(output)) {
    File standardOutput = File::StandardOutput();
    ExportTo(standardOutput, session, *root, nullptr);
  } else if (IsPlainPlace(output)) {
    ExportToPlainFile(session, *root, output);
  } else {
    File device = File::OpenToWrite(output);
    ExportTo(device, session, *root, nullptr);
  }
  watch.Finish();
}

}  // namespace karst::tool

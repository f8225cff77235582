#include <chrono>
#include <csignal>
#include <cstdio>

#include "tools/kadom/FileGuard.h"
#include "tools/kadom/ImportBuilder.h"
#include "tools/kadom/InputFile.h"
#include "tools/kadom/Output.h"
#include "tools/kadom/Progress.h"
#include "tools/kadom/commands/Commands.h"

namespace karst::tool {

namespace {

// Turns the user's interrupt into a failure while it lives, so that everything is put back.
class InterruptWatch {
 public:
  InterruptWatch() : previous(std::signal(SIGINT, [](int) { isInterrupted = 1; })) {}
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;
  ~InterruptWatch() { std::signal(SIGINT, previous); }

  void Check() const {
    if (isInterrupted != 0) throw Failure("interrupted");
  }

 private:
  static inline volatile std::sig_atomic_t isInterrupted = 0;
  void (*previous)(int);
};

void OpenForImport(Session& session, FileGuard& guard, const std::filesystem::path& file) {
  const FileKind kind = session.Look(file);
  if (kind == FileKind::Foreign) throw session.Fail("this is a database of another kind");
  if (kind != FileKind::Dom) guard.Arm(file);
  session.Open(file, kind == FileKind::Missing ? Access::Create : Access::Edit);
}

// Everything is one transaction, so that a failure leaves no trace.
KaSmartPtr<KaDbTransaction> BeginImport(Session& session, const KaText& document) {
  KaSmartPtr<KaDbTransaction> transaction;
  if (!session.Connection().BeginWriteTransaction(transaction.Out())) throw session.Fail("cannot be written");
  if (session.Database().OpenDocument(document.c_str(), nullptr)) {
    throw session.Fail("there is a document " + Quoted(document) + " already");
  }
  return transaction;
}

std::string Summary(const ImportBuilder& builder, const XmlExtras& extras, double seconds) {
  char time[32];
  std::snprintf(time, sizeof time, " in %.2f s", seconds);
  std::string line = "imported " + Counted(builder.ElementCount(), "element") + ", " +
                     Counted(builder.AttributeCount(), "attribute") + time;
  std::string skipped;
  if (extras.comments > 0) skipped = Counted(extras.comments, "comment");
  if (extras.instructions > 0) {
    skipped += (skipped.empty() ? "" : ", ") + Counted(extras.instructions, "processing instruction");
  }
  if (!skipped.empty()) line += " (" + skipped + " skipped)";
  return line + "\n";
}

}  // namespace

void Import(const Target& target, const std::filesystem::path& inputPath) {
  const auto start = std::chrono::steady_clock::now();
  InputFile input(inputPath);
  const KaText document = TextFromUser(target.document, "the name of the document");
  const InterruptWatch interrupt;
  FileGuard guard;
  Session session(target.verbose);
  OpenForImport(session, guard, target.file);
  const KaSmartPtr<KaDbTransaction> transaction = BeginImport(session, document);

  Progress progress;
  ImportBuilder builder(session, document);
  const XmlExtras extras = ReadXml(input, inputPath, builder, [&](uint64_t bytesRead, uint64_t size) {
    interrupt.Check();
    progress.Show(bytesRead, size, builder.ElementCount());
  });
  builder.Finish();
  if (!transaction->Commit()) throw session.Fail("the document cannot be stored");
  guard.Disarm();
  progress.Erase();

  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  Output output;
  output.Write(Summary(builder, extras, elapsed.count()));
  output.Finish();
}

}  // namespace karst::tool

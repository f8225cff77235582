#include <chrono>
#include <cstdio>

#include "common/PathText.h"
#include "tools/kadom/BlankFile.h"
#include "tools/kadom/ImportBuilder.h"
#include "tools/kadom/InputFile.h"
#include "tools/kadom/Interrupt.h"
#include "tools/kadom/Output.h"
#include "tools/kadom/PrivateFile.h"
#include "tools/kadom/Progress.h"
#include "tools/kadom/commands/Commands.h"

namespace karst::tool {

namespace {

// So often the file may change under an import before it gives up.
constexpr int kMostRounds = 20;

std::string Summary(uint64_t elements, uint64_t attributes, const XmlExtras& extras, double seconds) {
  char time[32];
  std::snprintf(time, sizeof time, " in %.2f s", seconds);
  std::string line = "imported " + Counted(elements, "element") + ", " + Counted(attributes, "attribute") + time;
  std::string skipped;
  if (extras.comments > 0) skipped = Counted(extras.comments, "comment");
  if (extras.instructions > 0) {
    skipped += (skipped.empty() ? "" : ", ") + Counted(extras.instructions, "processing instruction");
  }
  if (!skipped.empty()) line += " (" + skipped + " skipped)";
  return line + "\n";
}

// Closes what the session has open, so that its file can be moved or removed.
class Closer {
 public:
  explicit Closer(Session& opened) : session(opened) {}
  Closer(const Closer&) = delete;
  Closer& operator=(const Closer&) = delete;
  ~Closer() { session.Close(); }

 private:
  Session& session;
};

// One import into one file.
class Importer {
 public:
  Importer(const Target& target, const std::filesystem::path& inputFile)
      : inputPath(inputFile),
        document(TextFromUser(target.document, "the name of the document")),
        input(inputPath),
        session(target.file, target.verbose) {}

  // Stores the document and answers the summary.
  std::string Run() {
    const auto start = std::chrono::steady_clock::now();
    for (int round = 1; !Store(); ++round) {
      if (!input.Rewind() || round == kMostRounds) {
        throw session.Fail("another process has changed the file in the meantime; nothing was imported");
      }
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return Summary(elementCount, attributeCount, extras, elapsed.count());
  }

 private:
  // False: the file is not any more what it was when the import began. It is untouched.
  bool Store() {
    const FileKind kind = session.Look();
    switch (kind) {
      case FileKind::Foreign:
        throw session.Fail("this is a database of another kind");
      case FileKind::Dom:
        StoreInPlace();
        return true;
      case FileKind::Missing:
      case FileKind::Blank:
        break;
    }
    return StoreBeside(kind);
  }

  void StoreInPlace() {
    session.Open(Access::EditAlone);
    const Closer closer(session);
    Fill();
  }

  bool StoreBeside(FileKind kind) {
    if (kind == FileKind::Missing) CheckCompanions();
    PrivateFile built(session.Path(), session.Name());
    if (kind == FileKind::Blank) TakeEncoding(session, built.Path());
    {
      session.OpenPrivate(built.Path());
      const Closer closer(session);
      Fill();
    }
    CheckInterrupt();
    return kind == FileKind::Missing ? built.Place() : FillBlankFile(session, built.Path());
  }

  // The engine would take them for those of a file that comes to stand beside them.
  void CheckCompanions() {
    for (const char* ending : {"-journal", "-wal"}) {
      const std::filesystem::path companion = Companion(session.Path(), ending);
      std::error_code error;
      if (!std::filesystem::exists(companion, error)) continue;
      throw session.Fail("\"" + common::PathText(companion.filename()) + "\" is still there, but its database is gone");
    }
  }

  // Everything is one transaction, so that a failure leaves no trace.
  void Fill() {
    KaSmartPtr<KaDbTransaction> transaction;
    if (!session.Connection().BeginWriteTransaction(transaction.Out())) throw session.Fail("cannot be written");
    if (session.Database().OpenDocument(document.c_str(), nullptr)) {
      throw session.Fail("there is a document " + Quoted(document) + " already");
    }
    Progress progress;
    ImportBuilder builder(session, document);
    extras = ReadXml(input, inputPath, builder, [&](uint64_t bytesRead, uint64_t size) {
      CheckInterrupt();
      progress.Show(bytesRead, size, builder.ElementCount());
    });
    builder.Finish();
    CheckInterrupt();
    if (!transaction->Commit()) throw session.Fail("the document cannot be stored");
    elementCount = builder.ElementCount();
    attributeCount = builder.AttributeCount();
  }

  const std::filesystem::path inputPath;
  const KaText document;
  InputFile input;
  Session session;
  XmlExtras extras;
  uint64_t elementCount = 0;
  uint64_t attributeCount = 0;
};

// The document is stored, also when standard output does not take the summary.
void Report(const std::string& summary) {
  try {
    Output output;
    output.Write(summary);
    output.Finish();
  } catch (const Failure& failure) {
    std::fprintf(stderr, "%skadom: %s\n", summary.c_str(), failure.what());
  }
}

}  // namespace

void Import(const Target& target, const std::filesystem::path& input) {
  InterruptWatch watch;
  const std::string summary = Importer(target, input).Run();
  watch.Finish();
  Report(summary);
}

}  // namespace karst::tool

// Everything that a loaded KaDom needs around it: a recording host, the forwarding database over the real one, and a
// folder of its own.
#pragma once

#include <filesystem>
#include <random>
#include <string>

#include "karst/KaDom.h"
#include "karst/KaDomDatabase.h"
#include "karst/KaDomDocument.h"
#include "src/module/KaSmartPtr.h"
#include "tests/support/CallLog.h"
#include "tests/support/ForwardingDatabase.h"
#include "tests/support/RecordingHost.h"
#include "tests/support/Text.h"

namespace karst::test {

using impl::KaSmartPtr;

// The module objects of the two libraries, loaded on first use as a host loads them, from the folder of the build. They
// end the process when they cannot be had: there is nothing to test then.
KaDom& DomModule();
KaDatabase& DatabaseModule();

// One attachment of the modules, from construction to destruction. At most one at a time.
class DomWorld {
 public:
  DomWorld();
  DomWorld(const DomWorld&) = delete;
  DomWorld& operator=(const DomWorld&) = delete;
  ~DomWorld();

  // A path in the world's folder, which is removed with everything in it at the end.
  std::filesystem::path Path(const std::string& name) const { return folder / name; }

  // Opens a file into `database`, after releasing what `database` and `document` held.
  bool Open(const std::string& name = "test.db");
  // Opens the file, creates the document "Doc" with the given root name in it, and holds both.
  bool OpenNew(const KaChar* rootName = KA_TEXT("Root"));
  // Releases both, opens the file again and the document "Doc".
  bool Reopen();
  // Releases `document` and `database`.
  void Close();
  // Closes, detaches, and answers what is wrong with the books, see CallLog::Imbalance.
  std::string Settle();

  // The rows of a table or of any FROM clause: columns as SQL literals, separated by ",", rows by ";". As the module's
  // own connection sees them, or another connection when the module has none.
  std::string Table(const std::string& columns, const std::string& from);
  // The same as another connection sees it: what is committed.
  std::string Stored(const std::string& columns, const std::string& from);
  // The first column of the first row, seen as by Table. "<none>" and -1 without a row, or for NULL.
  std::string QueryText(const std::string& sql);
  int64_t QueryInt(const std::string& sql);
  // Runs SQL statements behind the module's back, on its own connection where it has one. Throws when it cannot.
  void RunSql(const std::string& sql);

  // Creates the elements that `children` describes, "a(b,c),d", below the element `parentId` of `document` and commits.
  // Ids are given in the order of the text.
  bool Grow(int64_t parentId, const std::string& children);

  CallLog calls;
  RecordingHost host{calls};
  ForwardingDatabase forwarding{calls, DatabaseModule()};
  KaSmartPtr<KaDomDatabase> database;
  KaSmartPtr<KaDomDocument> document;

 private:
  KaSmartPtr<KaDbConnection> Another();
  KaSmartPtr<KaDbConnection> OwnOrAnother();

  CallLog engineCalls;
  RecordingHost engineHost{engineCalls};
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() /
      std::filesystem::path(u"kadom-\u00e4\u6f22-").concat(std::to_string(std::random_device()()));
  std::string file = "test.db";
};

// The tree below and including an element, or of a document, as text: "Root(a(b,c),d)".
std::string TreeOf(KaDomElement* element);
std::string TreeOf(KaDomDocument* document);

}  // namespace karst::test

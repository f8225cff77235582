// Everything that a loaded KaDom needs around it: a recording host, the forwarding database over the real one, and a
// folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "karst/KaDom.h"
#include "karst/KaDomAttribute.h"
#include "karst/KaDomDatabase.h"
#include "karst/KaDomDocument.h"
#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "karst/KaSmartPtr.h"
#include "tests/support/CallLog.h"
#include "tests/support/ForwardingDatabase.h"
#include "tests/support/RecordingHost.h"
#include "tests/support/Text.h"

namespace karst::test {

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
  std::filesystem::path Path(const std::string& name) const { return folder.path / name; }

  // Opens a file into `database`, after releasing what `database` and `document` held.
  bool Open(const std::string& name = "test.db");
  // Opens the file, creates the document "Doc" with the given root name in it, and holds both.
  bool OpenNew(const KaChar* rootName = KA_TEXT("Root"), const std::string& name = "test.db");
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
  const TempFolder folder;
  std::string file = "test.db";
};

// One world per test. Afterwards everything must have been given back, every rule of the outside interfaces kept, and
// every message expected.
class DomFixture : public ::testing::Test, public DomWorld {
 protected:
  void TearDown() override {
    ExpectLog("");
    EXPECT_EQ(Settle(), "");
  }

  // Compares the messages since the last look, as of RecordingHost::TakeLog, and forgets them.
  void ExpectLog(const std::string& expected) { EXPECT_EQ(host.TakeLog(), expected); }
  // Compares the database calls since the last look, as of CallLog::Take, and forgets them.
  void ExpectCalls(const std::string& expected) { EXPECT_EQ(calls.Take(), expected); }
};

// An element as text, "name[attribute=value][…", with "number/unit" for a 32-bit integer and "?" for other types.
std::string LabelOf(KaDomElement* element);

// The labels of a document's elements: as a tree, "Root(a(b,c),d)", and those up to 99 by their ids, "Root a b c d".
std::string TreeOf(KaDomDocument* document);
std::string ListingOf(KaDomDocument* document);

}  // namespace karst::test

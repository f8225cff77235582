// One DOM database file that a command works on.
#pragma once

#include <filesystem>
#include <string>

#include "karst/KaDomDocument.h"
#include "tools/kadom/Failure.h"
#include "tools/kadom/Modules.h"
#include "tools/kadom/Text.h"

namespace karst::tool {

// What stands at a path.
enum class FileKind {
  Missing,
  Blank,    // an empty file, or a database without any table
  Dom,      // a DOM database
  Foreign,  // somebody else's database
};

// Every operation throws Failure when it fails. Objects that were obtained through a session are released before it
// ends.
class Session {
 public:
  // For the file that `file` names or leads to. Loads the modules; with `isVerbose` what they log goes to standard
  // error.
  Session(const std::filesystem::path& file, bool isVerbose);

  // Where the file is: no link.
  const std::filesystem::path& Path() const { return path; }
  // How the user calls it.
  const std::string& Name() const { return name; }

  // Looks into the file, which is not open, without changing what it holds, and clears away what processes that were
  // killed have left beside it. Throws when it is no database at all.
  FileKind Look();

  // Opens the file as a DOM database. KaDom lays out its tables in whatever it is made to open, so this comes after a
  // Look.
  void Open(Access access);
  // Opens a file in its place on which it is going to be built. Messages call it by the name of the place.
  void OpenPrivate(const std::filesystem::path& file);
  void Close();

  // Looks, and opens a file that is a DOM database.
  void OpenExisting(Access access);

  // A connection to the file, or to another in its place, without KaDom.
  KaSmartPtr<KaDbConnection> Connect(const std::filesystem::path& file, Access access);

  KaDomDatabase& Database() { return *database; }
  KaDbConnection& Connection() { return *connection; }

  KaSmartPtr<KaDomDocument> OpenDocument(const std::string& documentName);
  KaSmartPtr<KaDbStatement> Prepare(const std::string& sql);
  // Runs a statement to its next row. False: there is none.
  bool Step(KaDbStatement& statement);
  // Whether a query on that connection has a row.
  bool HasRow(KaDbConnection& in, const KaChar* sql);

  // A failure that names the file and says what went wrong, with what the modules logged about it. Throws Interrupted
  // when a signal has been noted: nobody waits for the reason any more.
  Failure Fail(const std::string& what) const;

  // Throws when the modules have logged a failure: what has been read may be incomplete.
  void CheckComplete() const;

 private:
  void ClearJournal();
  void OpenAt(const std::filesystem::path& file, Access access);

  const std::filesystem::path path;
  const std::string name;
  Modules modules;
  KaSmartPtr<KaDbConnection> connection;
  KaSmartPtr<KaDomDatabase> database;
};

// The file that the engine keeps beside a database under that ending.
std::filesystem::path Companion(const std::filesystem::path& file, const char* ending);

}  // namespace karst::tool

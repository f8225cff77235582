// One DOM database file that a command works on, and the modules that it takes.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "karst/KaDatabase.h"
#include "karst/KaDom.h"
#include "karst/KaDomDatabase.h"
#include "karst/KaDomDocument.h"
#include "framework/host/Host.h"
#include "src/module/KaSmartPtr.h"
#include "tools/kadom/Failure.h"
#include "tools/kadom/LogKeeper.h"
#include "tools/kadom/TappedDatabase.h"
#include "tools/kadom/Text.h"

namespace karst::tool {

using impl::KaSmartPtr;

// What stands at a path.
enum class FileKind {
  Missing,
  Blank,    // an empty file, or a database without any table
  Dom,      // a DOM database
  Foreign,  // somebody else's database
};

// How a file is opened.
enum class Access { Read, Edit, Create };

// Every operation throws Failure when it fails. Objects that were obtained through a session are released before it
// ends.
class Session {
 public:
  // Loads the modules. With `isVerbose` what they log goes to standard error.
  explicit Session(bool isVerbose);

  // Looks into a file without changing it. Throws when it is no database at all.
  FileKind Look(const std::filesystem::path& file);

  // Opens a DOM database. KaDom lays out its tables in whatever it is made to open, so this comes after a Look.
  void Open(const std::filesystem::path& file, Access access);

  // Looks, and opens a file that is a DOM database.
  void OpenExisting(const std::filesystem::path& file, Access access);

  KaDomDatabase& Database() { return *database; }
  KaDbConnection& Connection() { return *connection; }

  KaSmartPtr<KaDomDocument> OpenDocument(const std::string& name);
  KaSmartPtr<KaDbStatement> Prepare(const std::string& sql);
  // Runs a statement to its next row. False: there is none.
  bool Step(KaDbStatement& statement);

  // A failure that names the open file and says what went wrong, with what the modules logged about it.
  Failure Fail(const std::string& what) const;

  // Throws when the modules have logged a failure: what has been read may be incomplete.
  void CheckComplete() const;

 private:
  void LoadModules();
  KaSmartPtr<KaDbConnection> OpenForLook(const std::filesystem::path& file);
  bool HasRow(KaDbConnection& in, const KaChar* sql);
  void SetOption(const char* name, const char* value);

  LogKeeper log;
  std::optional<TappedDatabase> tappedDatabase;  // which the host hands out
  host::Host host;
  KaDatabase* databaseModule = nullptr;
  KaDom* domModule = nullptr;
  std::string fileText;
  KaSmartPtr<KaDbConnection> connection;
  KaSmartPtr<KaDomDatabase> database;
};

}  // namespace karst::tool

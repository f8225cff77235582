// The modules that the tool works with.
#pragma once

#include <filesystem>
#include <optional>

#include "karst/KaDatabase.h"
#include "karst/KaDom.h"
#include "karst/KaDomDatabase.h"
#include "karst/KaSmartPtr.h"
#include "framework/host/Host.h"
#include "tools/kadom/LogKeeper.h"
#include "tools/kadom/TappedDatabase.h"

namespace karst::tool {

// What a file is opened for. Opening never creates one.
enum class Access {
  Read,
  Edit,
  EditAlone,  // a transaction that writes waits for readers at its begin, and locks them out
  Build,      // the fast way, for a file that nobody else knows: nothing stands beside it, and a crash harms it
  Repair,     // to end what a process has left unfinished
};

class Modules {
 public:
  // Loads the modules. With `isVerbose` what they log goes to standard error. Throws Failure.
  explicit Modules(bool isVerbose);

  LogKeeper& Log() { return log; }
  const LogKeeper& Log() const { return log; }

  // A connection to the file alone. False: the log says why.
  bool OpenConnection(const std::filesystem::path& file, Access access, KaSmartPtr<KaDbConnection>* out);
  // A DOM database with the connection that it uses. False: the log says why, and both are empty.
  bool OpenDatabase(const std::filesystem::path& file, Access access, KaSmartPtr<KaDomDatabase>* database,
                    KaSmartPtr<KaDbConnection>* connection);

 private:
  LogKeeper log;
  std::optional<TappedDatabase> tappedDatabase;  // which the host hands out
  host::Host host;
  KaDatabase* databaseModule = nullptr;
  KaDom* domModule = nullptr;
};

}  // namespace karst::tool

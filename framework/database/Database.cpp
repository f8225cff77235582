#include "framework/database/Database.h"

#include <optional>
#include <string>

#include "karst/KaSmartPtr.h"
#include "common/Export.h"
#include "common/KaSmartImpl.h"
#include "common/Utf.h"
#include "framework/database/Connection.h"
#include "framework/database/Log.h"
#include "framework/database/Session.h"

namespace karst::database {

void Database::Attach(KaHost* host) {
  SetHost(host);
}

void Database::Detach() {
  SetHost(nullptr);
}

bool Database::OpenConnection(const KaChar* path, KaDbConnection** out) {
  if (path == nullptr || *path == 0 || out == nullptr) return false;
  return Guarded([&] {
    const std::optional<std::string> bytes = common::ToUtf8(path);
    if (!bytes) {
      Log("a path holds an unpaired surrogate");
      return false;
    }
    std::shared_ptr<Session> session = Session::Open(*bytes, CurrentOptions());
    if (session == nullptr) return false;
    impl::HandOut(new Connection(std::move(session)), out);
    return true;
  });
}

bool Database::SetOption(const char* name, const char* value) {
  if (name == nullptr || value == nullptr) return false;
  const std::lock_guard lock(optionsLock);
  return options.Set(name, value);
}

Options Database::CurrentOptions() {
  const std::lock_guard lock(optionsLock);
  return options;
}

}  // namespace karst::database

extern "C" KA_EXPORT karst::KaModule* KaGetModule() {
  static karst::database::Database module;
  return &module;
}

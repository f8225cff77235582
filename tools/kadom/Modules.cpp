#include "tools/kadom/Modules.h"

#include <span>
#include <string>

#include "tools/kadom/Failure.h"
#include "tools/kadom/Text.h"

namespace karst::tool {

namespace {

constexpr int32_t kModuleVersion = 101;

// An option of the database module, with the value that the tool otherwise uses.
struct Option {
  const char* name;
  const char* value;
  const char* usual;
};

constexpr const char* kUsualJournal = "durable";

constexpr Option kRead[] = {{"access", "readonly", "readwrite"}};
constexpr Option kEditAlone[] = {{"write_lock", "exclusive", "reserved"}};
constexpr Option kBuild[] = {
    {"journal", "requested", kUsualJournal}, {"synchronous", "off", "full"}, {"spill", "on", "auto"}};
constexpr Option kRepair[] = {{"journal", "requested", kUsualJournal}};

std::span<const Option> OptionsFor(Access access) {
  switch (access) {
    case Access::Read:
      return kRead;
    case Access::EditAlone:
      return kEditAlone;
    case Access::Build:
      return kBuild;
    case Access::Repair:
      return kRepair;
    case Access::Edit:
      break;
  }
  return {};
}

void SetOption(KaDatabase& module, const char* name, const char* value) {
  if (module.SetOption(name, value)) return;
  throw Failure(std::string("the module KaDatabase refuses the option ") + name + "=" + value);
}

// The options of the connections that are opened while it lives.
class ChangedOptions {
 public:
  ChangedOptions(KaDatabase& database, Access access) : module(database), options(OptionsFor(access)) {
    for (const Option& option : options) SetOption(module, option.name, option.value);
  }
  ChangedOptions(const ChangedOptions&) = delete;
  ChangedOptions& operator=(const ChangedOptions&) = delete;
  ~ChangedOptions() {
    for (const Option& option : options) module.SetOption(option.name, option.usual);
  }

 private:
  KaDatabase& module;
  const std::span<const Option> options;
};

}  // namespace

Modules::Modules(bool isVerbose) : log(isVerbose) {
  host.GetLogger()->SetSink([this](int32_t level, std::string_view message) { log.Add(level, message); });
  databaseModule = host.GetModuleAs<KaDatabase>("KaDatabase", kModuleVersion);
  if (databaseModule == nullptr) throw Failure(host.LastError());
  tappedDatabase.emplace(*databaseModule);
  host.Provide("KaDatabase", kModuleVersion, &*tappedDatabase);
  domModule = host.GetModuleAs<KaDom>("KaDom", kModuleVersion);
  if (domModule == nullptr) throw Failure(host.LastError());
  SetOption(*databaseModule, "access", "readwrite");
  // A crash in the middle of a change must leave the file as it was.
  SetOption(*databaseModule, "journal", kUsualJournal);
}

bool Modules::OpenConnection(const std::filesystem::path& file, Access access, KaSmartPtr<KaDbConnection>* out) {
  const ChangedOptions options(*databaseModule, access);
  return databaseModule->OpenConnection(PathForModule(file).c_str(), out->Out());
}

bool Modules::OpenDatabase(const std::filesystem::path& file, Access access, KaSmartPtr<KaDomDatabase>* database,
                           KaSmartPtr<KaDbConnection>* connection) {
  const ChangedOptions options(*databaseModule, access);
  const bool isOpen = domModule->OpenDatabase(PathForModule(file).c_str(), database->Out());
  *connection = tappedDatabase->TakeConnection();
  if (!isOpen) connection->Reset();
  return isOpen;
}

}  // namespace karst::tool

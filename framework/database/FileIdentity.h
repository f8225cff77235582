// Which file a connection has open, whatever path led there.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <optional>

namespace karst::database {

// Equal for two connections of this process exactly when they have the same file open.
struct FileIdentity {
  uint64_t volume;
  uint64_t file;
  bool operator==(const FileIdentity&) const = default;
};

// Nothing: the system does not tell.
std::optional<FileIdentity> IdentityOf(sqlite3* engine);

}  // namespace karst::database

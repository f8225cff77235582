// What can be a database file, looked at before the engine touches it.
#pragma once

#include <string>

namespace karst::database {

// Null: `path` (UTF-8), with links followed, names a plain file of 0 or at least 512 bytes, or nothing, or the system
// does not tell. Otherwise why it cannot be a database file. The engine would take a device or a shorter file for an
// empty one, and write into it. May throw std::bad_alloc.
const char* RefusalOf(const std::string& path);

}  // namespace karst::database

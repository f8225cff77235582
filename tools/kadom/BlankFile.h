// Filling a database that holds no tables yet.
#pragma once

#include <filesystem>

#include "tools/kadom/Session.h"

namespace karst::tool {

// Copies everything that the database `from` holds into the file of the session, which is not open, in one transaction.
// False: that file is not blank any more; nothing has changed. Throws Failure or Interrupted, and the file is as it was
// then.
bool FillBlankFile(Session& session, const std::filesystem::path& from);

// Gives the empty file `to` the text encoding of the session's file: only then the one can be copied into the other.
void TakeEncoding(Session& session, const std::filesystem::path& to);

}  // namespace karst::tool

// Deleting everything below an element.
#pragma once

#include "karst/KaDatabase.h"

namespace karst::impl {

// Deletes all elements below `elementId`, not itself, deepest first. False: a statement failed, or the elements form a
// circle; the caller's transaction then undoes what was deleted. Keeps one statement open for each level.
bool DeleteDescendants(KaDbConnection* connection, int64_t documentId, int64_t elementId);

}  // namespace karst::impl

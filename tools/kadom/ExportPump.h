// Carries an export from the module to where it belongs.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "karst/KaDomElement.h"

namespace karst::tool {

// Runs ExportXml on a thread of its own and passes what it writes to `take`, piece by piece, on the caller's thread.
// Until it returns or throws, the caller uses no object of KaDom.
//
// Answers the last `tailSize` bytes, or all if there are fewer. What `take` throws comes out of it, and so does
// Interrupted; but the module cannot be told to stop. So `stop` is called in the handler of that exception, while the
// module still works, and ends the process.
std::string PumpExport(KaDomElement& root, size_t tailSize, const std::function<void(std::string_view)>& take,
                       const std::function<void()>& stop);

}  // namespace karst::tool

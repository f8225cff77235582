// SQL texts from templates.
#pragma once

#include "karst/KaDatabase.h"

namespace karst::database {

// Formats as the engine's own formatter does. The conversions are d i u x X o, also with ll, and c e E f g G s q Q w %.
// False (logged), with `*out` as it was: another conversion, a null text for s, q or w, or a result that is not valid
// UTF-8.
class Formatter final : public KaSqlFormatter {
 public:
  bool Format(KaString** out, const char* format, ...) override;
};

}  // namespace karst::database

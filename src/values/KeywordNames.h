// The names of a file's dictionary, as far as attribute cursors need them.
#pragma once

#include "karst/KaTypes.h"

namespace karst::impl {

class KeywordNames {
 public:
  // The name with that id; an empty text when the dictionary does not hold the id, whatever it is. Never null. The text
  // stays valid as long as the dictionary lives.
  virtual const KaChar* GetKeywordName(int64_t id) = 0;

 protected:
  ~KeywordNames() = default;
};

}  // namespace karst::impl

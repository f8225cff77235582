// All operations of the module that reach outside it, on objects of every kind.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "karst/KaDomAttribute.h"
#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "tests/support/DomWorld.h"

namespace karst::test {

// A world with the tree Root(a(b,c),d), ids 1 to 5, a text attribute at the root, and editors that are open.
class Scene : public DomWorld {
 public:
  Scene();
  ~Scene() { End(); }

  // Releases everything; answers what is wrong with the books.
  std::string End();
  // All documents, as this connection and as another one see them.
  std::string State();

  KaSmartPtr<KaDomDocument> other;         // the same document
  KaSmartPtr<KaDomElement> root, single;   // nothing read yet; `single` is b, of `other`
  KaSmartPtr<KaDomAttribute> attribute;    // of the root, of `other`
  KaSmartPtr<KaDomDocumentEditor> editor;  // has written
  KaSmartPtr<KaDomElementEditor> element;  // of the root
  KaSmartPtr<KaDomElementEditor> writer;   // of a, with a working copy
};

// What may come of an operation when an outside call fails.
enum class Failure {
  IsWhole,       // false and nothing done, or true and all done
  StaysInScope,  // the same, but what was written before the failing call stays in the open transaction
  MayBeIgnored,  // also true with less done
  IsRemembered,  // the same, and the object does not try again
};

struct Operation {
  const char* name;
  Failure failure;
  std::function<bool(Scene&)> run;
  std::vector<std::string> logs;  // what it may log when a call fails, as of RecordingHost::TakeLog; empty: nothing
};

const std::vector<Operation>& AllOperations();

}  // namespace karst::test

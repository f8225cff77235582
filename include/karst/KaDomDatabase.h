// An open DOM database file: the catalogue of its documents.
#pragma once

#include "karst/KaSmart.h"

namespace karst {

class KaDomDocument;

// A DOM database: any number of named documents in one file.
//
// The object owns the one connection to the file. Documents, elements, attributes and editors keep it alive. It, and
// everything reached from it, is used by one thread at a time.
//
// Document names are matched exactly, code unit by code unit. A null name is refused with false before anything else
// happens; an empty name is a name.
class KaDomDatabase : public KaSmart {
 public:
  // Slot 3. Creates the document `name` with a root element named `rootName`, in a write transaction of its own.
  // A document of that name that exists already is handed out as it is, and `rootName` is ignored. `out` may be null.
  //
  // True: `*out`, where given, carries one reference for the caller. A failing commit does not change the answer.
  // False: nothing is stored, `*out` is untouched. Logs at level 3 "Could not establish write transaction." or
  // "Document name \"%s\" is already taken."; a root name that cannot be stored logs "Failed to insert a keyword." and
  // leaves the root without a name.
  virtual bool CreateDocument(const KaChar* name, const KaChar* rootName, KaDomDocument** out) = 0;
  // Slot 4. Opens the document `name`. With a null `out` it answers whether the document exists. Every call hands out
  // a new object with one reference for the caller. Logs nothing.
  virtual bool OpenDocument(const KaChar* name, KaDomDocument** out) = 0;
  // Slot 5. Deletes the document `name` with all its elements, in a write transaction of its own. True also when there
  // is no such document. False: no write transaction could be had ("Could not establish write transaction.", level 3),
  // or the catalogue cannot be searched, and nothing is deleted. A deletion or a commit that fails does not change the
  // answer. Objects that callers hold of the document stay valid;
  // their reads fail.
  virtual bool DeleteDocument(const KaChar* name) = 0;
};

}  // namespace karst

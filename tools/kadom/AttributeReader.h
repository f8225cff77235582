// Reads the attributes of elements with values of every type.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "tools/kadom/Session.h"
#include "tools/kadom/Value.h"

namespace karst::tool {

struct Attribute {
  KaText name;
  Value value;
};

// The cursors of KaDom hand out no 64-bit integers, so this reads the records themselves. The session outlives it.
class AttributeReader {
 public:
  AttributeReader(Session& session, int64_t documentId);

  // The attributes of an element in stored order; none for an element that does not exist. Throws Failure when they
  // cannot be read.
  std::vector<Attribute> Read(int64_t elementId);

 private:
  std::vector<uint8_t> ReadRecords(int64_t elementId);
  const KaText& NameOf(int64_t nameId);

  Session& session;
  KaSmartPtr<KaDbStatement> recordsStatement;
  KaSmartPtr<KaDbStatement> nameStatement;
  std::map<int64_t, KaText> names;
};

}  // namespace karst::tool

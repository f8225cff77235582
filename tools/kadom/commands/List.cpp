#include "tools/kadom/Output.h"
#include "tools/kadom/Session.h"
#include "tools/kadom/commands/Commands.h"

namespace karst::tool {

void List(const Target& target) {
  Session session(target.file, target.verbose);
  session.OpenExisting(Access::Read);
  Output output;
  const auto statement = session.Prepare("SELECT id,name FROM Documents ORDER BY id");
  while (session.Step(*statement)) {
    int64_t id = 0;
    KaSmartPtr<KaString> name;
    if (!statement->GetInt64(0, &id) || !statement->GetString(1, name.Out())) throw session.Fail("cannot be read");
    output.Write(std::to_string(id) + "\t" + Escaped(name->GetText()) + "\n");
  }
  output.Finish();
}

}  // namespace karst::tool

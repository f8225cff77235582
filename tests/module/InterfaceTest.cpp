// No interface has a destructor: objects are released, never deleted. The slots themselves are checked from outside, in
// the folder boundary.
#include <type_traits>

#include "karst/KaDatabase.h"
#include "karst/KaDom.h"
#include "karst/KaDomAttribute.h"
#include "karst/KaDomDatabase.h"
#include "karst/KaDomDocument.h"
#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "karst/KaHost.h"

namespace karst {

template <class... Interfaces>
constexpr bool kNoVirtualDestructor = (!std::has_virtual_destructor_v<Interfaces> && ...);

static_assert(kNoVirtualDestructor<KaSmart, KaModule, KaDom, KaDomNode, KaDomEditor, KaDomDatabase, KaDomDocument,
                                   KaDomElement, KaDomAttribute, KaDomDocumentEditor, KaDomElementEditor>);
static_assert(kNoVirtualDestructor<KaHost, KaLogger, KaStringFactory, KaString, KaDatabase, KaSqlFormatter,
                                   KaDbConnection, KaDbTransaction, KaDbStatement>);

}  // namespace karst

// Counting.
#include "karst/KaSmartPtr.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "karst/KaDomAttribute.h"
#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "common/KaSmartImpl.h"

namespace karst::impl {
namespace {

// No interface has a destructor: objects are released, never deleted.
template <class... Interfaces>
constexpr bool kNoVirtualDestructor = (!std::has_virtual_destructor_v<Interfaces> && ...);
static_assert(kNoVirtualDestructor<KaSmart, KaDomNode, KaDomEditor, KaDomElement, KaDomAttribute, KaDomDocumentEditor,
                                   KaDomElementEditor>);

int destroyed = 0;

class Probe final : public KaSmartImpl<KaSmart> {
  ~Probe() override { ++destroyed; }
};

TEST(KaSmartPtr, OwnsOneReferenceAndTheLastReleaseDestroys) {
  KaSmartPtr<Probe> holder(new Probe);
  KaSmartPtr<Probe> copy(holder), moved(std::move(copy));
  copy = moved;
  EXPECT_EQ(holder->RefCount(), 3);
  KaSmartPtr<KaSmart> base(std::move(moved));
  EXPECT_TRUE(!moved && holder->RefCount() == 3) << "a move does not count";
  base.Detach()->Release();
  KaSmart* handedOut = nullptr;
  HandOut(copy.Get(), &handedOut);
  copy.Reset();
  handedOut->Release();
  EXPECT_TRUE(holder->RefCount() == 1 && destroyed == 0);
  EXPECT_EQ(*holder.Out(), nullptr) << "a slot is empty when it is handed to a callee";
  EXPECT_EQ(destroyed, 1);
  (new Probe)->Release();  // from 0 to -1
  EXPECT_EQ(destroyed, 2);
}

}  // namespace
}  // namespace karst::impl

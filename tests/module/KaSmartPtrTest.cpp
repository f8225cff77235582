#include "src/module/KaSmartPtr.h"

#include <gtest/gtest.h>

#include <thread>

#include "src/module/KaSmartImpl.h"

namespace karst::impl {
namespace {

int destroyed = 0;

class Probe final : public KaSmartImpl<KaSmart> {
  ~Probe() override { ++destroyed; }
};

TEST(KaSmartImpl, TheLastReleaseDestroys) {
  destroyed = 0;
  auto* probe = new Probe;
  EXPECT_EQ(probe->RefCount(), 0);
  probe->AddRef();
  const auto work = [probe] {
    for (int i = 0; i < 50000; ++i) {
      probe->AddRef();
      probe->Release();
    }
  };
  std::thread first(work), second(work);
  first.join();
  second.join();
  EXPECT_EQ(probe->RefCount(), 1);
  EXPECT_EQ(destroyed, 0);
  probe->Release();
  EXPECT_EQ(destroyed, 1);
  (new Probe)->Release();  // from 0 to -1
  EXPECT_EQ(destroyed, 2);
}

TEST(KaSmartPtr, OwnsOneReference) {
  destroyed = 0;
  KaSmartPtr<Probe> holder(new Probe);
  KaSmartPtr<Probe> copy(holder);
  EXPECT_EQ(holder->RefCount(), 2);
  KaSmartPtr<Probe> moved(std::move(copy));
  copy = moved;
  EXPECT_EQ(holder->RefCount(), 3);
  moved.Detach()->Release();
  EXPECT_EQ(holder->RefCount(), 2);
  KaSmart* handedOut = nullptr;
  HandOut(copy.Get(), &handedOut);
  copy.Reset();
  EXPECT_EQ(handedOut->RefCount(), 2);
  handedOut->Release();
  EXPECT_EQ(destroyed, 0);
  EXPECT_EQ(*holder.Out(), nullptr) << "a slot is empty when it is handed to a callee";
  EXPECT_EQ(destroyed, 1);
  EXPECT_FALSE(holder || copy || moved || KaSmartPtr<Probe>(nullptr));
}

}  // namespace
}  // namespace karst::impl

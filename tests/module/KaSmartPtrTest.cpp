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

TEST(KaSmartPtr, OwnsOneReferenceAndTheLastReleaseDestroys) {
  KaSmartPtr<Probe> holder(new Probe);
  KaSmartPtr<Probe> copy(holder), moved(std::move(copy));
  copy = moved;
  EXPECT_EQ(holder->RefCount(), 3);
  moved.Detach()->Release();
  KaSmart* handedOut = nullptr;
  HandOut(copy.Get(), &handedOut);
  copy.Reset();
  handedOut->Release();
  const auto work = [&holder] {
    for (int i = 0; i < 50000; ++i) KaSmartPtr<Probe> another(holder);
  };
  std::thread first(work), second(work);
  first.join();
  second.join();
  EXPECT_EQ(holder->RefCount(), 1);
  EXPECT_EQ(destroyed, 0);
  EXPECT_EQ(*holder.Out(), nullptr) << "a slot is empty when it is handed to a callee";
  EXPECT_EQ(destroyed, 1);
  (new Probe)->Release();  // from 0 to -1
  EXPECT_EQ(destroyed, 2);
  EXPECT_FALSE(holder || copy || moved || KaSmartPtr<Probe>(nullptr));
}

}  // namespace
}  // namespace karst::impl

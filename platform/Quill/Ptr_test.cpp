#include "Quill/Ptr.h"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Probe : Quill::Object {
  explicit Probe(int* deaths) : deaths(deaths) {}
  ~Probe() override { ++*deaths; }
  int* deaths;
};
struct Derived : Probe {
  using Probe::Probe;
};

TEST(PtrTest, LastReferenceDeletesTheObject) {
  int deaths = 0;
  {
    auto a = Quill::make<Probe>(&deaths);
    EXPECT_EQ(a->refCount(), 1U);
    {
      Quill::Ptr<Probe> b = a;
      EXPECT_EQ(a->refCount(), 2U);
      Quill::Ptr<Probe const> c = std::move(b);
      EXPECT_FALSE(b);
      EXPECT_EQ(a->refCount(), 2U);
    }
    EXPECT_EQ(a->refCount(), 1U);
    EXPECT_EQ(deaths, 0);
  }
  EXPECT_EQ(deaths, 1);
}

TEST(PtrTest, EqualityIsIdentityAndDownCastChecksType) {
  int deaths = 0;
  Quill::Ptr<Probe> base = Quill::make<Derived>(&deaths);
  Quill::Ptr<Probe> other = Quill::make<Probe>(&deaths);
  EXPECT_TRUE(base == Quill::Ptr<Probe>(base));
  EXPECT_FALSE(base == other);
  EXPECT_TRUE(Quill::dynamicPtrCast<Derived>(base));
  EXPECT_FALSE(Quill::dynamicPtrCast<Derived>(other));
  EXPECT_TRUE(Quill::Ptr<Probe>() == nullptr);
}

TEST(PtrTest, CountsStayExactWhenThreadsAreDeclared) {
  Quill::threadsInUseIs(true);
  int deaths = 0;
  auto shared = Quill::make<Probe>(&deaths);
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 100000; ++i) {
        Quill::Ptr<Probe> copy = shared;
      }
    });
  }
  for (auto& th : threads) {
    th.join();
  }
  EXPECT_EQ(shared->refCount(), 1U);
  Quill::threadsInUseIs(false);
}

}  // namespace

#include <gtest/gtest.h>

#include <vector>

#include "framework/IBase.h"
#include "plugin/PBaseptr.h"

namespace {

struct Counted : IBase {
  int incRef() override {
    ++taken;
    return ++references;
  }
  int decRef() override { return --references; }
  int references = 0, taken = 0;
};

/// A pointer that came by its object without counting it.
struct Uncounted : PBaseptr<Counted> {
  explicit Uncounted(Counted* object) { fPtr = object; }
};

TEST(Pointer, HoldsOneReferenceForAllItsCopies) {
  Counted first, second;
  PBaseptr<Counted> one, other;
  one = &first;
  one = &first;  // the one it holds already
  other = &second;
  other = one;
  other = *&other;
  EXPECT_EQ(second.references, 0);
  one = nullptr;
  EXPECT_EQ(first.references, 1);
  other = one;
  EXPECT_EQ(first.references, 0);
  EXPECT_EQ(first.taken, 1);
}

TEST(Pointer, CopiesOfAnUncountedOneCountForThemselves) {
  Counted object;
  const Uncounted source(&object);
  std::vector<PBaseptr<Counted>> copies(2, source);
  EXPECT_EQ(object.references, 2);
  copies.clear();
  EXPECT_EQ(object.references, 0);
}

struct Plain {
  ~Plain() { ++*ended; }
  int* ended;
};

TEST(Pointer, FreesPlainObjectsAsTheirKindSays) {
  int ended = 0;
  Plain kept{&ended};
  PPtr<Plain> one, several, neither;
  one = new Plain{&ended};
  several = new Plain[2]{{&ended}, {&ended}};
  several.setKind(PPtr<Plain>::array);
  neither = &kept;
  neither.setKind(2);
  several = PPtr<Plain>(several);
  EXPECT_EQ(ended, 0);
  several = nullptr;
  EXPECT_EQ(ended, 2);
  neither = nullptr;
  one = PPtr<Plain>();
  EXPECT_EQ(ended, 3);
}

}  // namespace

#include <gtest/gtest.h>

#include <string>
#include <utility>
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
  int references = 0;
  int taken = 0;
};

/// A pointer that came by its object without counting it, as one of the framework's
/// own may, and that frees in a way of its own.
struct Uncounted : PBaseptr<Counted> {
  explicit Uncounted(Counted* object) { fPtr = object; }
  void freePtr() override { ++freed; }
  int freed = 0;
};

TEST(Pointer, HoldsOneReferenceForAllItsCopies) {
  Counted first;
  Counted second;
  std::vector<PBaseptr<Counted>> pointers(3);
  pointers[0] = &first;
  pointers[0] = &first;  // the one it holds already
  pointers[1] = &second;
  pointers[1] = pointers[0];
  EXPECT_EQ(second.references, 0);
  pointers[1] = *&pointers[1];
  pointers.push_back(pointers[1]);
  pointers.push_back(pointers[2]);  // an empty one
  EXPECT_EQ(pointers.back().get(), nullptr);
  pointers[0] = nullptr;
  EXPECT_FALSE(pointers[0]);
  pointers[1] = pointers[2];
  EXPECT_EQ(first.references, 1);
  EXPECT_EQ(pointers[3].get(), &first);
  pointers[3] = &second;
  EXPECT_EQ(first.references, 0);
  EXPECT_EQ(first.taken, 1);
  pointers.clear();
  EXPECT_EQ(second.references, 0);
}

TEST(Pointer, CopyOfAnUncountedOneCountsForItself) {
  Counted object;
  Uncounted const source(&object);
  PBaseptr<Counted> const& base = source;
  std::vector<PBaseptr<Counted>> copies;
  copies.push_back(base);
  copies.push_back(base);  // the source was left without a count
  EXPECT_EQ(object.references, 2);
  copies.clear();
  EXPECT_EQ(object.references, 0);
}

TEST(Pointer, ReleasesInTheDerivedWayAndEndsInItsOwn) {
  Counted object;
  {
    Uncounted pointer(nullptr);
    PBaseptr<Counted>& base = pointer;
    base = &object;
    base = nullptr;
    EXPECT_EQ(pointer.freed, 1);
    EXPECT_EQ(object.references, 1);
    base = &object;
  }
  EXPECT_EQ(object.references, 1);  // twice taken, and the destructor's decRef()
}

struct Plain {
  explicit Plain(char name) : fName(name) {}
  ~Plain() { ended += fName; }
  char fName;
  static inline std::string ended;
};

TEST(Pointer, FreesPlainObjectsByKind) {
  const auto freed = [](int kind, Plain* object) {
    std::vector<PPtr<Plain>> pointers(2);
    pointers[0].setKind(kind);
    pointers[0] = object;  // the kind is kept
    pointers[1] = new Plain('-');
    pointers[1] = pointers[0];  // frees its own as its own kind says, and takes over
    pointers[0] = nullptr;
    Plain::ended += '|';
    pointers.clear();
    return std::exchange(Plain::ended, "");
  };
  EXPECT_EQ(freed(0, new Plain('a')), "-|a");
  EXPECT_EQ(freed(1, new Plain[2]{Plain('a'), Plain('b')}), "-|ba");
  Plain kept('k');
  EXPECT_EQ(freed(2, &kept), "-|");
}

}  // namespace

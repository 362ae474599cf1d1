#include "lifetime.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

struct Thing {
  int value = 7;
  host::Lifetime<Thing> lifetime{*this};
};

TEST(Lifetime, AReferenceIsNullOnceTheObjectHasGone) {
  std::optional<Thing> thing(std::in_place);
  const host::WeakRef<Thing> ref = thing->lifetime.ref(), copy = ref;
  ASSERT_TRUE(ref);
  EXPECT_EQ(ref.get(), &*thing);
  EXPECT_EQ(copy->value, 7);
  thing.reset();
  EXPECT_FALSE(ref);
  EXPECT_EQ(copy.get(), nullptr);
  thing.emplace();
  EXPECT_FALSE(ref) << "another object at the same address is not meant";
}

TEST(Lifetime, EndsBeforeTheObjectWhenTold) {
  Thing thing;
  const host::WeakRef<Thing> ref = thing.lifetime.ref();
  thing.lifetime.end();
  EXPECT_EQ(ref.get(), nullptr);
  EXPECT_FALSE(thing.lifetime.ref());
}

TEST(Lifetime, AnEmptyReferenceIsNull) {
  EXPECT_FALSE(host::WeakRef<Thing>());
}

} // namespace

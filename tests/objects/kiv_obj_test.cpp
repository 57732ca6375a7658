#include "kiv_obj.h"

#include <gtest/gtest.h>

#include "counting_kind.h"
#include "tests/support/counting_allocator.h"

using kiv::test::CountingAllocator;

TEST(Object, ints) {
  CountingAllocator allocator;
  KIV_OBJ *object = obj_int_new(allocator.record(), -7);
  EXPECT_EQ(obj_int_get(object), -7);
  object->type->del(object);
}

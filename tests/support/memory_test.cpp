#include "support/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/allocation_limit.h"

namespace tarvel {
namespace {

TEST(memory_test, keeps_the_first_elements_when_an_array_grows) {
  owned_array<int> array;
  ASSERT_TRUE(try_resize(array, 3));
  std::fill_n(array.get(), 3, 7);
  ASSERT_TRUE(try_resize(array, 100000));
  EXPECT_EQ(std::count(array.get(), array.get() + 3, 7), 3);
  array[99999] = 1;
  ASSERT_TRUE(try_resize(array, 2));
  EXPECT_EQ(array[1], 7);
}

TEST(memory_test, gives_an_array_of_no_elements) {
  owned_array<int> array;
  ASSERT_TRUE(try_resize(array, 0));
  EXPECT_NE(array, nullptr);
  ASSERT_TRUE(try_resize(array, 0));
  EXPECT_NE(array, nullptr);
  owned_array<int> zeroed;
  ASSERT_TRUE(try_zeroed(zeroed, 0));
  EXPECT_NE(zeroed, nullptr);
}

TEST(memory_test, leaves_the_array_when_memory_is_short) {
  owned_array<int> array;
  ASSERT_TRUE(try_resize(array, 1));
  array[0] = 42;
  int *const block = array.get();
  {
    const allocation_limit limit(0);
    EXPECT_FALSE(try_resize(array, 1000));
    EXPECT_FALSE(try_zeroed(array, 1000));
  }
  EXPECT_EQ(array.get(), block);
  EXPECT_EQ(array[0], 42);
}

TEST(memory_test, refuses_more_bytes_than_there_are_addresses) {
  owned_array<std::uint64_t> array;
  ASSERT_TRUE(try_resize(array, 1));
  array[0] = 42;
  // 8 (2^61 + 1) is 8 in 64 bits: a product that wraps would be granted.
  EXPECT_FALSE(try_resize(array, (std::size_t{1} << 61) + 1));
  EXPECT_EQ(array[0], 42U);
}

TEST(memory_test, zeroes_every_element) {
  owned_array<char> array;
  ASSERT_TRUE(try_resize(array, 5000));
  std::fill_n(array.get(), 5000, 'x');
  ASSERT_TRUE(try_zeroed(array, 5000));
  EXPECT_EQ(std::count(array.get(), array.get() + 5000, '\0'), 5000);
}

struct record {
  int number = 5;
  owned_text text;
};

TEST(memory_test, makes_a_record_with_its_defaults) {
  const owned_record<record> made = try_make<record>();
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->number, 5);
  EXPECT_EQ(made->text, nullptr);
  const allocation_limit limit(0);
  EXPECT_EQ(try_make<record>(), nullptr);
}

TEST(memory_test, copies_a_text_with_its_end) {
  for (const std::string &text : {std::string(), std::string("a"), std::string(5000, 'x')}) {
    const owned_text copy = try_duplicate(text.c_str());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy.get(), text);
  }
  const allocation_limit limit(0);
  EXPECT_EQ(try_duplicate("text"), nullptr);
}

TEST(memory_test, grants_as_many_requests_as_the_limit_says) {
  for (std::size_t granted = 0; granted < 5; ++granted) {
    SCOPED_TRACE(granted);
    const allocation_limit limit(granted);
    std::size_t count = 0;
    while (count < 10 && grant_allocation()) ++count;
    EXPECT_EQ(count, granted);
    EXPECT_FALSE(grant_allocation());
  }
  EXPECT_TRUE(grant_allocation());
  EXPECT_EQ(allocations_left, SIZE_MAX);
}

TEST(memory_test, counts_what_it_refuses) {
  const std::size_t before = allocations_refused;
  owned_text text;
  EXPECT_TRUE(try_resize(text, 10));
  EXPECT_EQ(allocations_refused, before);
  EXPECT_FALSE(try_resize(text, SIZE_MAX / 2));
  EXPECT_FALSE(try_zeroed(text, SIZE_MAX / 2));
  owned_array<double> numbers;
  EXPECT_FALSE(try_resize(numbers, SIZE_MAX / 2));
  EXPECT_EQ(allocations_refused, before + 3);
  const allocation_limit limit(0);
  EXPECT_FALSE(try_resize(text, 20));
  EXPECT_FALSE(try_zeroed(text, 20));
  EXPECT_EQ(try_make<record>(), nullptr);
  EXPECT_EQ(allocations_refused, before + 6);
}

TEST(memory_test, tells_whether_there_is_room) {
  const std::size_t before = allocations_refused;
  EXPECT_TRUE(has_room(0));
  EXPECT_TRUE(has_room(1));
  EXPECT_TRUE(has_room(1 << 20));
  EXPECT_EQ(allocations_refused, before);
  // More than there are addresses.
  EXPECT_FALSE(has_room(SIZE_MAX));
  EXPECT_FALSE(has_room(std::size_t{1} << 60));
  EXPECT_EQ(allocations_refused, before + 2);
  const allocation_limit limit(0);
  EXPECT_FALSE(has_room(0));
  EXPECT_FALSE(has_room(1));
  EXPECT_EQ(allocations_refused, before + 4);
}

}  // namespace
}  // namespace tarvel

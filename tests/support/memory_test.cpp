#include "support/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "support/allocation_limit.h"
#include "support/guarded_page.h"

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
  // 8 (2^61 + 1) is 8 modulo 2^64: an allocation of a product that wraps would succeed.
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

struct reserve_case {
  const char *name;
  std::uint8_t capacity;
  std::uint64_t needed;
  std::uint8_t first_capacity;
  int expected;  // the capacity afterwards, or -1 for a refusal
};

const reserve_case reserve_cases[] = {
    {"the first room", 0, 1, 5, 5},
    {"no room needed yet", 0, 0, 5, 5},
    {"more than the first room", 0, 11, 5, 20},
    {"room that is there", 5, 5, 9, 5},
    {"one more", 5, 6, 9, 10},
    {"several doublings", 5, 41, 9, 80},
    {"the last doubling that fits", 127, 128, 9, 254},
    {"a doubling that would wrap", 128, 129, 9, -1},
    {"a doubling that would wrap to a fit", 192, 193, 9, -1},
    {"several doublings, the last of which would wrap", 40, 161, 9, -1},
    {"more than the type holds", 200, 256, 9, -1},
    {"more than 64 bits can double", 1, UINT64_MAX, 9, -1},
};

TEST(memory_test, doubles_the_capacity_until_the_elements_fit) {
  for (const reserve_case &c : reserve_cases) {
    SCOPED_TRACE(c.name);
    owned_array<int> array;
    ASSERT_TRUE(try_resize(array, c.capacity));
    std::fill_n(array.get(), c.capacity, 7);
    const int *const block = array.get();
    std::uint8_t capacity = c.capacity;
    EXPECT_EQ(try_reserve(array, capacity, c.needed, c.first_capacity), c.expected >= 0);
    EXPECT_EQ(capacity, c.expected >= 0 ? c.expected : c.capacity);
    EXPECT_EQ(std::count(array.get(), array.get() + c.capacity, 7), c.capacity);
    EXPECT_TRUE(capacity != c.capacity || array.get() == block);
    std::fill_n(array.get(), capacity, 8);
  }
}

TEST(memory_test, appends_one_element_after_the_other) {
  owned_array<int> array;
  std::uint32_t count = 0;
  std::uint32_t capacity = 0;
  for (int i = 0; i < 100; ++i) {
    ASSERT_TRUE(try_append(array, count, capacity, 3, i * i));
    EXPECT_EQ(capacity, i < 3 ? 3U : i < 6 ? 6U : i < 12 ? 12U : i < 24 ? 24U : i < 48 ? 48U : i < 96 ? 96U : 192U);
  }
  EXPECT_EQ(count, 100U);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(array[static_cast<std::size_t>(i)], i * i);
}

TEST(memory_test, appends_nothing_when_memory_is_short) {
  owned_array<int> array;
  std::size_t count = 0;
  std::size_t capacity = 0;
  {
    const allocation_limit limit(0);
    EXPECT_FALSE(try_append(array, count, capacity, 2, 5));
  }
  EXPECT_EQ(array, nullptr);
  ASSERT_TRUE(try_append(array, count, capacity, 2, 5));
  const allocation_limit limit(0);
  ASSERT_TRUE(try_append(array, count, capacity, 2, 6));
  EXPECT_FALSE(try_append(array, count, capacity, 2, 7));
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(capacity, 2U);
  EXPECT_EQ(array[0], 5);
  EXPECT_EQ(array[1], 6);
}

// 2^32 elements do not fit the count: the allocator is not called, and nothing is written.
TEST(memory_test, appends_nothing_when_the_count_of_32_bits_would_overflow) {
  for (const std::uint32_t full : {std::uint32_t{1} << 31, UINT32_MAX}) {
    owned_array<char> array;
    std::uint32_t count = full;
    std::uint32_t capacity = full;
    EXPECT_FALSE(try_append(array, count, capacity, 1, 'x'));
    EXPECT_EQ(count, full);
    EXPECT_EQ(capacity, full);
    EXPECT_EQ(array, nullptr);
  }
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
  const guarded_page page;
  char *const end = reinterpret_cast<char *>(page.end());
  std::memcpy(end - 5, "text", 5);
  EXPECT_STREQ(try_duplicate(end - 5).get(), "text");
  const allocation_limit limit(0);
  EXPECT_EQ(try_duplicate("text"), nullptr);
}

// Each call of try_resize, try_zeroed or try_make is one allocation; all after the limit fail.
TEST(memory_test, grants_as_many_allocations_as_the_limit_says) {
  owned_text text;
  for (std::size_t granted = 0; granted < 5; ++granted) {
    SCOPED_TRACE(granted);
    const allocation_limit limit(granted);
    for (std::size_t i = 0; i < granted; ++i) {
      const bool is_granted = i % 3 == 0   ? try_resize(text, 10)
                              : i % 3 == 1 ? try_zeroed(text, 10)
                                           : try_make<record>() != nullptr;
      EXPECT_TRUE(is_granted) << i;
    }
    for (int i = 0; i < 3; ++i) {
      EXPECT_FALSE(try_resize(text, 10));
      EXPECT_FALSE(try_zeroed(text, 10));
      EXPECT_EQ(try_make<record>(), nullptr);
      EXPECT_EQ(try_duplicate("text"), nullptr);
    }
  }
  EXPECT_TRUE(try_resize(text, 10));
  EXPECT_TRUE(try_zeroed(text, 10));
  EXPECT_NE(try_make<record>(), nullptr);
}

TEST(memory_test, fails_for_more_bytes_than_the_machine_has) {
  owned_text text;
  EXPECT_FALSE(try_resize(text, SIZE_MAX / 2));
  EXPECT_FALSE(try_zeroed(text, SIZE_MAX / 2));
  owned_array<double> numbers;
  EXPECT_FALSE(try_resize(numbers, SIZE_MAX / 2));
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(numbers, nullptr);
}

}  // namespace
}  // namespace tarvel

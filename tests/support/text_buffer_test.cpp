#include "support/text_buffer.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <string>

#include "support/allocation_limit.h"

namespace tarvel {
namespace {

// The bytes of a new buffer.
constexpr std::uint32_t room = text_buffer_initial_capacity;

TEST(text_buffer_test, begins_empty) {
  mallopt(M_PERTURB, 0x55);  // new memory is often zero, and the text would then be empty by chance
  error_slot error = nullptr;
  const text_buffer buffer = text_buffer_create(&error);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(buffer.error, &error);
  EXPECT_EQ(buffer.length, 0U);
  EXPECT_EQ(buffer.capacity, room);
  EXPECT_STREQ(buffer.data.get(), "");
  mallopt(M_PERTURB, 0);
}

TEST(text_buffer_test, fails_when_the_first_allocation_fails) {
  error_slot error = nullptr;
  const allocation_limit limit(0);
  const text_buffer buffer = text_buffer_create(&error);
  EXPECT_STREQ(error, "malloc() failed");
  EXPECT_EQ(buffer.data, nullptr);
}

TEST(text_buffer_test, allocates_later_when_the_first_allocation_failed) {
  error_slot error = nullptr;
  text_buffer buffer = [&] {
    const allocation_limit limit(0);
    return text_buffer_create(&error);
  }();
  text_buffer_printf(buffer, "words");
  EXPECT_STREQ(buffer.data.get(), "words");
  EXPECT_EQ(buffer.capacity, room);
}

TEST(text_buffer_test, appends_piece_by_piece) {
  error_slot error = nullptr;
  text_buffer buffer = text_buffer_create(&error);
  text_buffer_printf(buffer, "average height: %.1f m\n", 12.25);
  text_buffer_printf(buffer, "%s", "");
  text_buffer_printf(buffer, "%d of %d\n", 3, 4);
  EXPECT_EQ(error, nullptr);
  EXPECT_STREQ(buffer.data.get(), "average height: 12.2 m\n3 of 4\n");
  EXPECT_EQ(buffer.length, 30U);
}

struct growth_case {
  const char *name;
  std::size_t before;  // bytes in use before the append
  std::size_t append;
  std::uint32_t capacity;
};

// The last byte is the NUL.
const growth_case growth_cases[] = {
    {"one below the room", 0, room - 2, room},
    {"exactly the room", 0, room - 1, room},
    {"one more", 0, room, 2 * room},
    {"exactly the room behind a text", 24, room - 25, room},
    {"one more behind a text", 24, room - 24, 2 * room},
    {"a full buffer and nothing", room - 1, 0, room},
    {"a full buffer and one", room - 1, 1, 2 * room},
    {"exactly the doubled room", 0, 2 * room - 1, 2 * room},
    {"one more than the doubled room", 0, 2 * room, 4 * room},
    {"several doublings at once", 0, 3 * room, 4 * room},
    {"several doublings behind a text", 1000, 8 * room - 1001, 8 * room},
    {"one more than several doublings", 1000, 8 * room - 1000, 16 * room},
};

TEST(text_buffer_test, doubles_only_when_the_text_does_not_fit) {
  for (const growth_case &c : growth_cases) {
    SCOPED_TRACE(c.name);
    error_slot error = nullptr;
    text_buffer buffer = text_buffer_create(&error);
    const std::string before(c.before, 'b');
    const std::string append = std::string(c.append, 'a');
    text_buffer_printf(buffer, "%s", before.c_str());
    text_buffer_printf(buffer, "%s", append.c_str());
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(buffer.capacity, c.capacity);
    EXPECT_EQ(buffer.length, c.before + c.append);
    EXPECT_EQ(buffer.data.get(), before + append);
  }
}

TEST(text_buffer_test, keeps_its_text_when_it_cannot_grow) {
  error_slot error = nullptr;
  text_buffer buffer = text_buffer_create(&error);
  text_buffer_printf(buffer, "kept");
  {
    const allocation_limit limit(0);
    text_buffer_printf(buffer, "%s", std::string(room, 'x').c_str());
  }
  EXPECT_STREQ(error, "realloc failed");
  EXPECT_STREQ(buffer.data.get(), "kept");
  EXPECT_EQ(buffer.length, 4U);
  EXPECT_EQ(buffer.capacity, room);

  text_buffer_printf(buffer, " and %s", "more");
  EXPECT_STREQ(buffer.data.get(), "kept and more");
  EXPECT_STREQ(error, "realloc failed");
}

TEST(text_buffer_test, keeps_its_text_when_printf_fails) {
  error_slot error = nullptr;
  text_buffer buffer = text_buffer_create(&error);
  text_buffer_printf(buffer, "kept");
  // The C locale has no bytes for this character.
  text_buffer_printf(buffer, "lost %ls", L"\u0416");
  EXPECT_STREQ(error, "vsnprintf() failed (-1)\n");
  EXPECT_STREQ(buffer.data.get(), "kept");
  EXPECT_EQ(buffer.length, 4U);
  text_buffer_printf(buffer, "!");
  EXPECT_STREQ(buffer.data.get(), "kept!");
}

// A capacity of 2^32 does not fit its field; if it wrapped to 0, the loop that doubles it would not end.
TEST(text_buffer_test, refuses_to_grow_to_4_gibibytes) {
  error_slot error = nullptr;
  text_buffer buffer;
  buffer.error = &error;
  // The test writes to the last page only.
  if (!try_resize(buffer.data, std::size_t{1} << 31)) GTEST_SKIP() << "no 2 GiB of addresses";
  buffer.capacity = std::uint32_t{1} << 31;
  buffer.length = buffer.capacity - 3;
  text_buffer_printf(buffer, "ab");
  EXPECT_EQ(error, nullptr);
  text_buffer_printf(buffer, "c");
  EXPECT_STREQ(error, "realloc failed");
  EXPECT_EQ(buffer.length, buffer.capacity - 1);
  EXPECT_STREQ(buffer.data.get() + buffer.length - 2, "ab");
}

}  // namespace
}  // namespace tarvel

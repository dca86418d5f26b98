#include "chart/drawing_setup.h"

#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>

#include "support/allocation_limit.h"

namespace tarvel {
namespace {

TEST(drawing_setup_test, knows_the_fonts_afterwards) {
  ASSERT_TRUE(prepare_drawing(1000));
  FcConfig *const known = FcConfigGetCurrent();
  ASSERT_NE(known, nullptr);
  EXPECT_NE(FcConfigGetFonts(known, FcSetSystem), nullptr);
  // Once for all documents.
  ASSERT_TRUE(prepare_drawing(1000));
  EXPECT_EQ(FcConfigGetCurrent(), known);
}

// A processor of 64 bits has 2^47 addresses for a program.
TEST(drawing_setup_test, wants_room_for_every_sample) {
  EXPECT_TRUE(prepare_drawing(0));
  EXPECT_FALSE(prepare_drawing(std::size_t{1} << 35));
  EXPECT_FALSE(prepare_drawing(SIZE_MAX));
  EXPECT_FALSE(prepare_drawing(SIZE_MAX / 4096));
}

TEST(drawing_setup_test, gives_up_when_memory_is_short) {
  const allocation_limit none(0);
  EXPECT_FALSE(prepare_drawing(0));
}

}  // namespace
}  // namespace tarvel

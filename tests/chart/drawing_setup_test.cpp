#include "chart/drawing_setup.h"

#include <dlfcn.h>
#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <thread>

#include "support/allocation_limit.h"

namespace {

// What the stand-ins below for the font library's functions do.
bool loads_configuration = true;
bool takes_configuration = true;
int times_loaded = 0;
FcConfig *last_taken = nullptr;

}  // namespace

extern "C" FcConfig *FcInitLoadConfigAndFonts() {
  ++times_loaded;
  if (!loads_configuration) return nullptr;
  return reinterpret_cast<FcConfig *(*)()>(dlsym(RTLD_NEXT, "FcInitLoadConfigAndFonts"))();
}

extern "C" FcBool FcConfigSetCurrent(FcConfig *config) {
  if (!takes_configuration) return FcFalse;
  last_taken = config;
  return reinterpret_cast<FcBool (*)(FcConfig *)>(dlsym(RTLD_NEXT, "FcConfigSetCurrent"))(config);
}

namespace tarvel {
namespace {

TEST(drawing_setup_test, reckons_64_megabytes_and_4_kilobytes_a_sample) {
  EXPECT_EQ(drawing_room(0), 67108864U);
  EXPECT_EQ(drawing_room(1), 67112960U);
  EXPECT_EQ(drawing_room(1000), 71204864U);
  EXPECT_EQ(drawing_room(UINT32_MAX), 17592253149184U);  // (2^32 - 1) * 2^12 + 2^26
}

TEST(drawing_setup_test, knows_the_fonts_afterwards_or_says_no) {
  loads_configuration = false;
  EXPECT_FALSE(prepare_drawing(0));
  loads_configuration = true;
  takes_configuration = false;
  EXPECT_FALSE(prepare_drawing(0));
  takes_configuration = true;
  EXPECT_EQ(last_taken, nullptr);

  times_loaded = 0;
  ASSERT_TRUE(prepare_drawing(0));
  ASSERT_NE(last_taken, nullptr);
  EXPECT_EQ(FcConfigGetCurrent(), last_taken);
  EXPECT_NE(FcConfigGetFonts(last_taken, FcSetSystem), nullptr);
  // Once for all documents.
  ASSERT_TRUE(prepare_drawing(1000));
  EXPECT_EQ(times_loaded, 1);
}

TEST(drawing_setup_test, gives_up_when_memory_is_short) {
  const allocation_limit none(0);
  EXPECT_FALSE(prepare_drawing(0));
}

// A sanitizer has an allocator of its own.
#ifndef __SANITIZE_ADDRESS__
TEST(drawing_setup_test, lets_threads_share_the_memory_of_the_program) {
  ASSERT_TRUE(prepare_drawing(0));
  std::uintptr_t block = 0;
  std::thread([&] {
    void *const taken = std::malloc(100);
    block = reinterpret_cast<std::uintptr_t>(taken);
    std::free(taken);
  }).join();
  // Others are mapped above the program's own, which ends at the break.
  EXPECT_LT(block, reinterpret_cast<std::uintptr_t>(sbrk(0)));
}
#endif

}  // namespace
}  // namespace tarvel

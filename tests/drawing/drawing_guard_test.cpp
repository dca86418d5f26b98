#include "drawing/drawing_guard.h"

#include <dlfcn.h>
#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>

#include "support/allocation_limit.h"

namespace {

// The behaviour of the functions below, which replace those of the font library and pthread_create.
bool loads_configuration = true;
bool takes_configuration = true;
int times_loaded = 0;
FcConfig *last_taken = nullptr;
// The number of threads that can be started, and of those that have been started.
int granted_threads = 1000;
int started_threads = 0;

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

extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*start)(void *),
                              void *argument) noexcept {
  if (started_threads == granted_threads) return EAGAIN;
  ++started_threads;
  using creation = int (*)(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
  return reinterpret_cast<creation>(dlsym(RTLD_NEXT, "pthread_create"))(thread, attributes, start, argument);
}

namespace tarvel {
namespace {

std::string guard(std::size_t bytes = 1) {
  error_slot error = "stale";
  guard_drawing(bytes, &error);
  return error != nullptr ? error : "";
}

constexpr const char *no_memory = "failed to allocate memory for charts";

// Must be the first of these tests: a process loads its fonts once.
TEST(drawing_guard_test, loads_the_fonts_or_fails) {
  loads_configuration = false;
  EXPECT_EQ(guard(), no_memory);
  loads_configuration = true;
  takes_configuration = false;
  EXPECT_EQ(guard(), no_memory);
  takes_configuration = true;
  EXPECT_EQ(last_taken, nullptr);

  times_loaded = 0;
  ASSERT_EQ(guard(), "");
  ASSERT_NE(last_taken, nullptr);
  EXPECT_EQ(FcConfigGetCurrent(), last_taken);
  EXPECT_NE(FcConfigGetFonts(last_taken, FcSetSystem), nullptr);
  // They are not loaded again.
  ASSERT_EQ(guard(), "");
  EXPECT_EQ(times_loaded, 1);
}

TEST(drawing_guard_test, fails_when_memory_is_short) {
  ASSERT_EQ(guard(), "");
  EXPECT_EQ(guard(SIZE_MAX), no_memory);
  const allocation_limit none(0);
  EXPECT_EQ(guard(), no_memory);
}

// Two threads that read fonts, and two that are ending and may still count towards a limit.
TEST(drawing_guard_test, fails_without_four_threads) {
  ASSERT_EQ(guard(), "");
  for (const int granted : {0, 1, 3, 4}) {
    started_threads = 0;
    granted_threads = granted;
    EXPECT_EQ(guard(), granted < 4 ? no_memory : "") << granted;
    EXPECT_EQ(started_threads, granted);
  }
  granted_threads = 1000;
}

TEST(drawing_guard_test, has_a_message_for_an_incomplete_document) {
  EXPECT_EQ(drawing_error(CAIRO_STATUS_SUCCESS), nullptr);
  EXPECT_EQ(drawing_error(CAIRO_STATUS_WRITE_ERROR), nullptr);
  EXPECT_STREQ(drawing_error(CAIRO_STATUS_NO_MEMORY), no_memory);
  EXPECT_STREQ(drawing_error(CAIRO_STATUS_DEVICE_ERROR), no_memory);
}

TEST(drawing_guard_test, unsets_the_debug_variables_of_the_libraries) {
  setenv("FC_DEBUG", "1024", 1);
  setenv("PANGOCAIRO_BACKEND", "none", 1);
  ASSERT_EQ(guard(), "");
  EXPECT_EQ(std::getenv("FC_DEBUG"), nullptr);
  EXPECT_EQ(std::getenv("PANGOCAIRO_BACKEND"), nullptr);
}

// A sanitizer replaces the allocator.
#ifndef __SANITIZE_ADDRESS__
TEST(drawing_guard_test, makes_threads_allocate_from_the_main_arena) {
  ASSERT_EQ(guard(), "");
  std::uintptr_t block = 0;
  std::thread([&] {
    void *const taken = std::malloc(100);
    block = reinterpret_cast<std::uintptr_t>(taken);
    std::free(taken);
  }).join();
  // The main arena lies below the program break, other arenas are mapped above it.
  EXPECT_LT(block, reinterpret_cast<std::uintptr_t>(sbrk(0)));
}
#endif

}  // namespace
}  // namespace tarvel

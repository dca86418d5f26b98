#include "drawing/drawing_setup.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "support/allocation_limit.h"

namespace {

// What the stand-ins below for the font library's functions do.
bool loads_configuration = true;
bool takes_configuration = true;
int times_loaded = 0;
FcConfig *last_taken = nullptr;
bool starts_threads = true;

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
  if (!starts_threads) return EAGAIN;
  using creation = int (*)(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
  return reinterpret_cast<creation>(dlsym(RTLD_NEXT, "pthread_create"))(thread, attributes, start, argument);
}

namespace tarvel {
namespace {

TEST(drawing_setup_test, reckons_64_megabytes_and_4_kilobytes_a_sample) {
  EXPECT_EQ(drawing_room(0), 67108864U);
  EXPECT_EQ(drawing_room(1), 67112960U);
  EXPECT_EQ(drawing_room(1000), 71204864U);
  EXPECT_EQ(drawing_room(UINT32_MAX), 17592253149184U);  // (2^32 - 1) * 2^12 + 2^26
}

std::string prepare(std::uint32_t samples) {
  error_slot error = "stale";
  prepare_drawing(samples, &error);
  return error != nullptr ? error : "";
}

constexpr const char *no_memory = "failed to allocate memory for charts";

// The first of these tests: a process learns its fonts once.
TEST(drawing_setup_test, knows_the_fonts_afterwards_or_says_no) {
  loads_configuration = false;
  EXPECT_EQ(prepare(0), no_memory);
  loads_configuration = true;
  takes_configuration = false;
  EXPECT_EQ(prepare(0), no_memory);
  takes_configuration = true;
  EXPECT_EQ(last_taken, nullptr);

  times_loaded = 0;
  ASSERT_EQ(prepare(0), "");
  ASSERT_NE(last_taken, nullptr);
  EXPECT_EQ(FcConfigGetCurrent(), last_taken);
  EXPECT_NE(FcConfigGetFonts(last_taken, FcSetSystem), nullptr);
  // Once for all documents.
  ASSERT_EQ(prepare(1000), "");
  EXPECT_EQ(times_loaded, 1);
}

TEST(drawing_setup_test, gives_up_when_memory_is_short) {
  ASSERT_EQ(prepare(0), "");
  const allocation_limit none(0);
  EXPECT_EQ(prepare(0), no_memory);
}

TEST(drawing_setup_test, gives_up_without_a_thread) {
  ASSERT_EQ(prepare(0), "");
  starts_threads = false;
  EXPECT_EQ(prepare(0), no_memory);
  starts_threads = true;
  EXPECT_EQ(prepare(0), "");
}

// Leaves so many numbers for files that the process has not open yet.
[[noreturn]] void prepare_with_numbers(rlim_t count) {
  std::vector<int> numbers;
  for (rlim_t i = 0; i < count; ++i) numbers.push_back(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
  for (const int number : numbers) close(number);
  rlimit usual;
  getrlimit(RLIMIT_NOFILE, &usual);
  const rlimit few = {static_cast<rlim_t>(numbers.back()) + 1, usual.rlim_max};
  setrlimit(RLIMIT_NOFILE, &few);
  const std::string said = prepare(0);
  // All of them are given back.
  const bool is_next = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0) == numbers.front();
  setrlimit(RLIMIT_NOFILE, &usual);
  std::fprintf(stderr, "%s%s\n", said.c_str(), is_next ? "" : ", and keeps files open");
  std::exit(0);
}

TEST(drawing_setup_test, gives_up_when_too_many_files_are_open) {
  ASSERT_EQ(prepare(0), "");
  EXPECT_EXIT(prepare_with_numbers(7), testing::ExitedWithCode(0), "^failed to read font for charts\n$");
  EXPECT_EXIT(prepare_with_numbers(8), testing::ExitedWithCode(0), "^\n$");
}

TEST(drawing_setup_test, keeps_the_libraries_from_talking_of_themselves) {
  setenv("FC_DEBUG", "1024", 1);
  setenv("PANGOCAIRO_BACKEND", "none", 1);
  ASSERT_EQ(prepare(0), "");
  EXPECT_EQ(std::getenv("FC_DEBUG"), nullptr);
  EXPECT_EQ(std::getenv("PANGOCAIRO_BACKEND"), nullptr);
}

// A sanitizer has an allocator of its own.
#ifndef __SANITIZE_ADDRESS__
TEST(drawing_setup_test, lets_threads_share_the_memory_of_the_program) {
  ASSERT_EQ(prepare(0), "");
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

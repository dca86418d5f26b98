#include "swoop/sample_tree.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <vector>

#include "support/allocation_limit.h"

namespace tarvel {

namespace {

// The sum of the samples' satellites, and their times.
struct counted {
  unsigned satellites = 0;
  time_range times;

  void add(const gps_point &sample) {
    satellites += sample.numsv;
    times.add(sample);
  }
  void add(const counted &others) {
    satellites += others.satellites;
    times.add(others.times);
  }
};

struct is_later {
  std::int64_t from;
  std::int64_t span;
  bool operator()(const gps_point &sample) const { return elapsed(from, sample.time) >= span; }
  bool operator()(const counted &several) const { return several.times.may_be_after(from, span); }
};

std::vector<gps_point> random_samples(std::mt19937_64 &random, std::size_t count) {
  const std::int64_t ends[] = {INT64_MIN, INT64_MIN + 1, -1, 0, 1, INT64_MAX - 1, INT64_MAX};
  const bool is_wild = random() % 2 == 0;
  std::vector<gps_point> samples(count);
  for (gps_point &sample : samples) {
    sample.numsv = static_cast<std::uint8_t>(random() % 20);
    sample.time = static_cast<std::int64_t>(is_wild ? random() : random() % 50);
    if (is_wild && random() % 4 == 0) sample.time = ends[random() % 7];
  }
  return samples;
}

std::size_t first_by_scanning(std::span<const gps_point> samples, std::size_t first, std::size_t end,
                              const is_later &condition) {
  while (first < end && !condition(samples[first])) ++first;
  return first;
}

void expect_answers_of_a_scan(std::mt19937_64 &random, std::span<const gps_point> samples) {
  sample_tree<counted> tree(samples);
  for (int question = 0; question < 60; ++question) {
    const std::size_t first = random() % samples.size();
    const std::size_t end = first + 1 + random() % (samples.size() - first);
    unsigned satellites = 0;
    for (std::size_t i = first; i < end; ++i) satellites += samples[i].numsv;
    ASSERT_EQ(tree.between(first, end).satellites, satellites) << first << " to " << end;
    const auto span = static_cast<std::int64_t>(random() % 2 == 0 ? 1 + random() % 60 : random() >> 2);
    const is_later condition = {samples[random() % samples.size()].time, span};
    ASSERT_EQ(tree.find_first(first, end, condition), first_by_scanning(samples, first, end, condition))
        << first << " to " << end;
  }
}

TEST(sample_tree_test, gives_the_results_of_a_scan) {
  std::mt19937_64 random(1);
  for (std::size_t count = 1; count < 700; ++count) {
    SCOPED_TRACE(count);
    const std::vector<gps_point> samples = random_samples(random, count);
    ASSERT_NO_FATAL_FAILURE(expect_answers_of_a_scan(random, samples));
  }
}

TEST(sample_tree_test, gives_the_results_of_a_scan_without_memory) {
  std::mt19937_64 random(2);
  const allocation_limit limit(0);
  for (const std::size_t count : {1U, 64U, 65U, 200U, 1000U}) {
    SCOPED_TRACE(count);
    const std::vector<gps_point> samples = random_samples(random, count);
    ASSERT_NO_FATAL_FAILURE(expect_answers_of_a_scan(random, samples));
  }
}

// 2^62 ms apart.
constexpr std::int64_t quarter = std::int64_t{1} << 62;

struct range_case {
  const char *name;
  std::int64_t first;
  std::int64_t last;
  std::int64_t from;
  bool may_be_after;  // by 1,500 ms
};

const range_case range_cases[] = {
    {"the last is just as long after", 0, 2500, 1000, true},
    {"1 ms less", 0, 2499, 1000, false},
    {"all before", -5, 0, 1000, false},
    {"after a time below 0", 0, 0, -1500, true},
    {"the longest difference", INT64_MAX, INT64_MAX, 0, true},
    {"a difference that wraps", INT64_MAX, INT64_MAX, -1, false},
    {"the first is after, since its difference wraps", INT64_MIN, INT64_MIN + 9, 2, true},
    {"a range just narrow enough", -quarter, -1, 0, false},
    {"one too wide", -quarter, 0, 0, true},
    {"all times", INT64_MIN, INT64_MAX, -1, true},
};

TEST(time_range_test, tests_whether_a_sample_may_be_later_by_a_span) {
  for (const range_case &c : range_cases) {
    SCOPED_TRACE(c.name);
    time_range range;
    for (const std::int64_t time : {c.last, c.first, c.last}) {
      gps_point sample;
      sample.time = time;
      range.add(sample);
    }
    EXPECT_EQ(range.may_be_after(c.from, 1500), c.may_be_after);
    time_range both;
    both.add(range);
    both.add(time_range());
    EXPECT_EQ(both.may_be_after(c.from, 1500), c.may_be_after);
  }
}

TEST(time_range_test, of_no_samples_is_after_no_time) {
  for (const std::int64_t from : {INT64_MIN, std::int64_t{-1}, std::int64_t{0}, std::int64_t{1}, INT64_MAX}) {
    EXPECT_FALSE(time_range().may_be_after(from, 1500)) << from;
  }
}

}  // namespace

}  // namespace tarvel

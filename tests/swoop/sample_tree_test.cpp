#include "swoop/sample_tree.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <vector>

#include "support/allocation_limit.h"
#include "swoop/time_quarters.h"

namespace tarvel {

namespace {

// The sum of the samples' satellites, and their times.
struct counted {
  unsigned satellites = 0;
  time_quarters times;

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
  taken_after after;
  bool operator()(const gps_point &sample) const { return after(sample); }
  bool operator()(const counted &several) const { return after(several.times); }
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
    const is_later condition = {{samples[random() % samples.size()], span}};
    ASSERT_EQ(tree.find_first(first, end, condition), first_by_scanning(samples, first, end, condition))
        << first << " to " << end;
  }
}

TEST(sample_tree_test, answers_as_a_scan_does) {
  std::mt19937_64 random(1);
  for (std::size_t count = 1; count < 700; ++count) {
    SCOPED_TRACE(count);
    const std::vector<gps_point> samples = random_samples(random, count);
    ASSERT_NO_FATAL_FAILURE(expect_answers_of_a_scan(random, samples));
  }
}

TEST(sample_tree_test, answers_as_a_scan_does_without_memory) {
  std::mt19937_64 random(2);
  const allocation_limit limit(0);
  for (const std::size_t count : {1U, 64U, 65U, 200U, 1000U}) {
    SCOPED_TRACE(count);
    const std::vector<gps_point> samples = random_samples(random, count);
    ASSERT_NO_FATAL_FAILURE(expect_answers_of_a_scan(random, samples));
  }
}

// All at their limits: the quarters' ends, and what is just as much later as asked for.
TEST(time_quarters_test, know_whether_one_of_them_is_later) {
  std::vector<std::int64_t> times;
  for (std::uint64_t quarter = 0; quarter < 4; ++quarter) {
    for (const std::uint64_t offset :
         {0ULL, 1ULL, 2ULL, 999ULL, 1000ULL, 1001ULL, (1ULL << 62) - 2, (1ULL << 62) - 1}) {
      times.push_back(static_cast<std::int64_t>((quarter << 62) + offset));
    }
  }
  for (const std::int64_t from : times) {
    gps_point start;
    start.time = from;
    const taken_after condition = {start, 1000};
    EXPECT_FALSE(condition(time_quarters()));
    for (const std::int64_t one : times) {
      for (const std::int64_t other : times) {
        gps_point first;
        gps_point second;
        first.time = one;
        second.time = other;
        time_quarters both;
        both.add(first);
        both.add(second);
        EXPECT_EQ(condition(both), condition(first) || condition(second)) << from << ' ' << one << ' ' << other;
      }
    }
  }
}

}  // namespace

}  // namespace tarvel

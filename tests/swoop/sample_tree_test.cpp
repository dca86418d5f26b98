#include "swoop/sample_tree.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <vector>

#include "support/allocation_limit.h"

namespace tarvel {

namespace {

// The sum of the samples' satellites, and the latest time.
struct counted {
  unsigned satellites = 0;
  latest_time latest;

  void add(const gps_point &sample) {
    satellites += sample.numsv;
    latest.add(sample);
  }
  void add(const counted &others) {
    satellites += others.satellites;
    latest.add(others.latest);
  }
};

struct is_later {
  std::int64_t from;
  std::int64_t span;
  bool operator()(const gps_point &sample) const { return elapsed(from, sample.time) >= span; }
  bool operator()(const counted &several) const { return several.latest.is_after(from, span); }
};

// No two times lie so far apart that their difference wraps.
std::vector<gps_point> random_samples(std::mt19937_64 &random, std::size_t count) {
  constexpr std::int64_t limit = INT64_MAX / 2;
  const std::int64_t ends[] = {-limit, 1 - limit, -1, 0, 1, limit - 1, limit};
  const bool is_wild = random() % 2 == 0;
  std::vector<gps_point> samples(count);
  for (gps_point &sample : samples) {
    sample.numsv = static_cast<std::uint8_t>(random() % 20);
    sample.time = is_wild ? static_cast<std::int64_t>(random()) / 2 : static_cast<std::int64_t>(random() % 50);
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

// Where differences of times wrap, samples may be missed; what is found meets the condition.
TEST(sample_tree_test, finds_nothing_wrong_where_times_wrap) {
  std::mt19937_64 random(3);
  std::vector<gps_point> samples = random_samples(random, 1000);
  for (gps_point &sample : samples) sample.time = static_cast<std::int64_t>(random());
  sample_tree<counted> tree(samples);
  int found = 0;
  for (int question = 0; question < 10000; ++question) {
    const is_later condition = {static_cast<std::int64_t>(random()), static_cast<std::int64_t>(random() >> 2)};
    const std::size_t first = random() % samples.size();
    const std::size_t answer = tree.find_first(first, samples.size(), condition);
    ASSERT_GE(answer, first_by_scanning(samples, first, samples.size(), condition));
    if (answer == samples.size()) continue;
    ASSERT_TRUE(condition(samples[answer]));
    ++found;
  }
  EXPECT_GT(found, 5000);
}

struct latest_case {
  const char *name;
  std::int64_t latest;
  std::int64_t from;
  bool is_after;  // by 1,500 ms
};

const latest_case latest_cases[] = {
    {"just as long after", 2500, 1000, true},
    {"1 ms less", 2499, 1000, false},
    {"before", 0, 1000, false},
    {"after a time below 0", 0, -1500, true},
    {"no samples are after no time", INT64_MIN, 1, false},
    {"nor after the first of all times", INT64_MIN, INT64_MIN, false},
    {"the longest difference", INT64_MAX, 0, true},
    {"a difference that wraps", INT64_MAX, -1, false},
};

TEST(latest_time_test, knows_whether_a_sample_is_so_much_later) {
  for (const latest_case &c : latest_cases) {
    SCOPED_TRACE(c.name);
    latest_time latest;
    for (const std::int64_t time : {INT64_MIN, c.latest, INT64_MIN}) {
      gps_point sample;
      sample.time = time;
      latest.add(sample);
    }
    EXPECT_EQ(latest.is_after(c.from, 1500), c.is_after);
    latest_time both;
    both.add(latest);
    both.add(latest_time());
    EXPECT_EQ(both.is_after(c.from, 1500), c.is_after);
  }
}

}  // namespace

}  // namespace tarvel

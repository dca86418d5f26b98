#include "swoop/implicit_gate.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <span>
#include <vector>

#include "support/hand_made_run.h"

namespace tarvel {

namespace {

struct raw_row {
  std::int64_t time = 0;  // ms
  double altitude = 0.0;  // m
  vec3 velocity;          // north, east, down, m/s
  float vacc = 1.0F;
};

using raw_rows = std::vector<raw_row>;

// Latitude 48 and longitude 11, each sample a little farther north and east.
swoop run_of_rows(const raw_rows &rows) {
  std::vector<gps_point> samples(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const auto d = static_cast<double>(i);
    samples[i].time = rows[i].time;
    samples[i].pos_wgs84 = {48.0 + 0.0001 * d, 11.0 + 0.0002 * d, rows[i].altitude};
    samples[i].vel_ltp = rows[i].velocity;
    samples[i].vacc = rows[i].vacc;
  }
  return run_of(samples);
}

constexpr vec3 flying = {20.0, 0.0, 5.0};
constexpr vec3 landed = {0.3, 0.4, 0.0};

// Flight at sample 2; landing at sample 5. The ground is the mean of samples 5 to 9 less 2 m: 100 m. Sample 3 is the
// last more than 100 ft above it; from there on the descent reaches 1.25 m/s in the middle between samples 4 and 5.
raw_rows plain_swoop() {
  return {{0, 1000.0, flying},
          {1000, 1100.0, flying},
          {2000, 500.0, flying},
          {3000, 131.0, {20.0, 0.0, 9.0}},
          {4000, 104.0, {20.0, 0.0, 2.5}},
          {5000, 103.5, landed},
          {6000, 102.0, landed},
          {7000, 101.5, landed},
          {8000, 101.5, landed},
          {8001, 101.5, landed},
          {9000, 99.0, landed}};
}

struct gate_case {
  const char *name;
  void (*change)(raw_rows &rows);
  error_slot message;
  double ground;   // m
  double bottom;   // sample number, with its fraction
  double landing;  // sample number
};

constexpr const char *no_flight = "could not detect flight";
constexpr const char *no_landing = "could not detect landing";
constexpr const char *no_dive = "could not find dive at 100 feet";

void expect_gates(const gate_case *first, std::size_t count) {
  for (const gate_case &c : std::span(first, count)) {
    SCOPED_TRACE(c.name);
    raw_rows rows = plain_swoop();
    c.change(rows);
    const swoop run = run_of_rows(rows);
    vec3 gate;
    vec3 landing;
    error_slot error = nullptr;
    find_implicit_gate(run, gate, landing, &error);
    EXPECT_STREQ(error, c.message);
    if (error != nullptr || c.message != nullptr) continue;
    EXPECT_NEAR(gate.x, 48.0 + 0.0001 * c.bottom, 1e-12);
    EXPECT_NEAR(gate.y, 11.0 + 0.0002 * c.bottom, 1e-12);
    EXPECT_NEAR(gate.z, c.ground, 1e-9);
    EXPECT_NEAR(landing.x, 48.0 + 0.0001 * c.landing, 1e-12);
    EXPECT_NEAR(landing.y, 11.0 + 0.0002 * c.landing, 1e-12);
    EXPECT_NEAR(landing.z, c.ground, 1e-9);
  }
}

// 1,500 ft are 457.2 m below the 1,100 m of sample 1.
const gate_case flight_cases[] = {
    {"a plain swoop", [](raw_rows &) {}, nullptr, 100.0, 4.5, 5.0},
    {"a descent of exactly 1,500 ft is none",
     [](raw_rows &r) {
       for (raw_row &row : r) row.altitude = 0.0;
       r[0].altitude = from_feet(1500.0);
     },
     no_flight, 0.0, 0.0, 0.0},
    {"a little more is one; then the run is level",
     [](raw_rows &r) {
       for (raw_row &row : r) row.altitude = 0.0;
       r[0].altitude = from_feet_above(1500.0);
     },
     nullptr, -2.0, 4.5, 5.0},
    {"heights of 20 m accuracy are no flight",
     [](raw_rows &r) {
       for (raw_row &row : r) row.vacc = 20.0F;
     },
     no_flight, 0.0, 0.0, 0.0},
    {"nor do they raise the maximum",
     [](raw_rows &r) {
       r[0].altitude = 550.0;  // 451 m above the last sample
       r[1].vacc = 20.0F;
     },
     no_flight, 0.0, 0.0, 0.0},
    {"sample 0 is the first maximum, whatever its accuracy",
     [](raw_rows &r) {
       r[0] = {0, 1100.0, flying, 99.0F};
       r[1].altitude = 500.0;
     },
     nullptr, 100.0, 4.5, 5.0},
    {"a descent at the last sample does not count",
     [](raw_rows &r) {
       for (raw_row &row : r) row.altitude = 1000.0;
       r.back().altitude = 0.0;
     },
     no_flight, 0.0, 0.0, 0.0},
    {"a single sample", [](raw_rows &r) { r.resize(1); }, no_flight, 0.0, 0.0, 0.0},
};

TEST(implicit_gate_test, needs_a_flight) { expect_gates(flight_cases, std::size(flight_cases)); }

// The landing's height is 103.5 m; 100 ft are 30.48 m.
const gate_case landing_cases[] = {
    {"exactly 10 mph is no landing",
     [](raw_rows &r) {
       r[5].velocity = {from_mph(10.0), 0.0, 0.0};
     },
     nullptr, (102.0 + 3 * 101.5 + 99.0) / 5.0 - 2.0, 4.5, 6.0},
    {"just below it is one",
     [](raw_rows &r) {
       r[5].velocity = {from_mph_below(10.0), 0.0, 0.0};
     },
     nullptr, 100.0, 4.5, 5.0},
    {"the descent counts, too",
     [](raw_rows &r) {
       for (std::size_t i = 5; i < r.size(); ++i) r[i].velocity = {0.0, 0.0, 5.0};
     },
     no_landing, 0.0, 0.0, 0.0},
    {"never slow",
     [](raw_rows &r) {
       for (std::size_t i = 5; i < r.size(); ++i) r[i].velocity = flying;
     },
     no_landing, 0.0, 0.0, 0.0},
    {"slow at the last sample alone",
     [](raw_rows &r) {
       for (std::size_t i = 5; i + 1 < r.size(); ++i) r[i].velocity = flying;
     },
     no_landing, 0.0, 0.0, 0.0},
    {"the flight's own sample may be a landing",
     [](raw_rows &r) {
       r[2] = {2000, 500.0, landed, 10.0F};
     },
     nullptr, (500.0 + 131.0 + 104.0 + 103.5 + 102.0) / 5.0 - 2.0, 3.0, 2.0},
    {"a slow sample before the flight is none", [](raw_rows &r) { r[1].velocity = landed; }, nullptr, 100.0, 4.5, 5.0},
    {"a drop of more than 100 ft is no landing", [](raw_rows &r) { r[10].altitude = 0.0; }, no_landing, 0.0, 0.0, 0.0},
    {"a rise of more than 100 ft is none either", [](raw_rows &r) { r[10].altitude = 200.0; }, no_landing, 0.0, 0.0,
     0.0},
    {"one of less is a landing", [](raw_rows &r) { r[10].altitude = 103.5 + 30.4; }, nullptr, 100.0, 4.5, 5.0},
    {"exactly 100 ft are within",
     [](raw_rows &r) {
       for (std::size_t i = 5; i < 10; ++i) r[i].altitude = 0.0;
       r[10].altitude = from_feet(100.0);
     },
     nullptr, -2.0, 4.5, 5.0},
    {"more are not",
     [](raw_rows &r) {
       for (std::size_t i = 5; i < 10; ++i) r[i].altitude = 0.0;
       r[10].altitude = from_feet_above(100.0);
     },
     no_landing, 0.0, 0.0, 0.0},
    {"after 15,000 ms the height may change",
     [](raw_rows &r) {
       r[9].time = 20001;
       r[10] = {20002, 900.0, flying};
     },
     nullptr, 100.0, 4.5, 5.0},
    {"but not before",
     [](raw_rows &r) {
       r[9].time = 20000;
       r[10] = {20000, 900.0, flying};
     },
     no_landing, 0.0, 0.0, 0.0},
    {"at the very sample the time comes first",
     [](raw_rows &r) {
       r[9].time = 20000;
       r[10] = {20001, 900.0, flying};
     },
     nullptr, 100.0, 4.5, 5.0},
    {"10 m accuracy is a landing at once",
     [](raw_rows &r) {
       r[5].vacc = 10.0F;
       r[10].altitude = 900.0;
     },
     nullptr, 100.0, 4.5, 5.0},
    {"just below it is not",
     [](raw_rows &r) {
       r[5].vacc = 9.99F;
       r[10].altitude = 900.0;
     },
     no_landing, 0.0, 0.0, 0.0},
    {"a height that is not a number is not within", [](raw_rows &r) { r[10].altitude = not_a_number; }, no_landing, 0.0,
     0.0, 0.0},
    {"a clock that goes back is not after 15,000 ms",
     [](raw_rows &r) {
       r[9].time = -20000;
       r[10] = {-20000, 900.0, flying};
     },
     no_landing, 0.0, 0.0, 0.0},
};

TEST(implicit_gate_test, needs_a_landing) { expect_gates(landing_cases, std::size(landing_cases)); }

const gate_case ground_cases[] = {
    {"the ground is the mean up to the first sample after 3,000 ms",
     [](raw_rows &r) {
       r[8].time = 8001;
       r[9].altitude = 102.5;
     },
     nullptr, (103.5 + 102.0 + 101.5 + 101.5) / 4.0 - 2.0, 4.5, 5.0},
    {"exactly 3,000 ms are not after it",
     [](raw_rows &r) {
       r[8].time = 8000;
       r[9].altitude = 102.5;
     },
     nullptr, 100.2, 4.5, 5.0},
    // Sample 3 is less than 100 ft above this ground, sample 2 the dive. 104.5 m, a metre above the lowest point, lie
    // at 26.5 / 27 of the way from sample 3 to sample 4, cut to the millisecond.
    {"or up to the last sample", [](raw_rows &r) { r.resize(7); }, nullptr, (103.5 + 102.0) / 2.0 - 2.0, 3.981, 5.0},
    // The dive is sample 2 then, and 1.25 m/s lie at 3.75 / 4.5 of the way to sample 3.
    {"exactly 100 ft above the ground is no dive yet",
     [](raw_rows &r) {
       for (std::size_t i = 5; i < r.size(); ++i) r[i].altitude = 2.0;  // ground 0 m
       r[4].altitude = 3.5;
       r[3] = {3000, from_feet(100.0), {20.0, 0.0, 0.5}};
     },
     nullptr, 0.0, 2.833, 5.0},
    {"just above is; the level moment at that very sample does not count",
     [](raw_rows &r) {
       for (std::size_t i = 5; i < r.size(); ++i) r[i].altitude = 2.0;
       r[4].altitude = 2.5;
       r[3] = {3000, from_feet_above(100.0), {20.0, 0.0, 0.5}};
     },
     nullptr, 0.0, 4.5, 5.0},
    {"never 100 ft above the ground before the landing",
     [](raw_rows &r) {
       r[5].vacc = 10.0F;
       r[6].altitude = 9000.0;  // the mean of the ground takes it in
     },
     no_dive, 0.0, 0.0, 0.0},
    {"sample 0 may be the dive",
     [](raw_rows &r) {
       for (std::size_t i = 1; i < r.size(); ++i) r[i].altitude = 2.0;
       for (std::size_t i = 1; i < 5; ++i) r[i].velocity = flying;
       r[0].altitude = 500.0;
     },
     nullptr, 0.0, 4.75, 5.0},
    {"the landing itself may be the dive",
     [](raw_rows &r) {
       r[5].vacc = 10.0F;
       for (std::size_t i = 6; i < 10; ++i) r[i].altitude = 2.0;  // ground: 103.5 / 5 + 1.6 - 2
     },
     nullptr, (103.5 + 8.0) / 5.0 - 2.0, 6.0, 5.0},
    {"the landing at the last sample but one is its own bottom's neighbour",
     [](raw_rows &r) {
       r.resize(7);
       r[5].vacc = 10.0F;
       r[6].altitude = -300.0;
     },
     nullptr, (103.5 - 300.0) / 2.0 - 2.0, 6.0, 5.0},
};

TEST(implicit_gate_test, stands_at_the_bottom_on_the_ground) { expect_gates(ground_cases, std::size(ground_cases)); }

}  // namespace

}  // namespace tarvel

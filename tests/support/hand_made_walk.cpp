#include "support/hand_made_walk.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "support/memory.h"

namespace tarvel {

namespace {

constexpr double degree = 3.141592653589793 / 180.0;

double way_length(const vec3 &from, const vec3 &to) { return std::hypot(to.x - from.x, to.y - from.y, to.z - from.z); }

std::vector<vec3> in_walking_order(const walk_marks &marks) {
  std::vector<vec3> order = {marks.start, marks.b, marks.c, marks.d, marks.a};
  order.insert(order.end(), marks.exit_mark.begin(), marks.exit_mark.end());
  return order;
}

std::string time_text(std::int64_t ms) {
  using namespace std::chrono;
  const auto time = sys_days(year(2026) / May / 16) + hours(10) + milliseconds(ms);
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(floor<milliseconds>(time - day));
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
  return text;
}

}  // namespace

void add_sample(hand_made_walk &walk) {
  gps_point sample;
  sample.time = walk.time;
  sample.pos_wgs84 = wgs84_of(walk.place, walk.at);
  sample.pos_ecef = walk.at;
  sample.hacc = walk.hacc;
  sample.vacc = walk.vacc;
  walk.samples.push_back(sample);
  walk.time += std::llround(1000.0 / walk.rate);
}

void stand(hand_made_walk &walk, double seconds) {
  const auto end = walk.time + std::llround(1000.0 * seconds);
  while (walk.time <= end) add_sample(walk);
}

void walk_to(hand_made_walk &walk, const vec3 &target) {
  const vec3 from = walk.at;
  const double length = way_length(from, target);
  const auto steps = std::llround(std::ceil(length * walk.rate / walk.speed));
  for (long long k = 1; k < steps; ++k) {
    const double part = static_cast<double>(k) / static_cast<double>(steps);
    walk.at = {from.x + part * (target.x - from.x), from.y + part * (target.y - from.y),
               from.z + part * (target.z - from.z)};
    add_sample(walk);
  }
  walk.at = target;
}

void jump_to(hand_made_walk &walk, const vec3 &target) { walk.at = target; }

void walk_course(hand_made_walk &walk, const walk_marks &marks, double seconds) {
  walk.at = marks.start;
  for (const vec3 &mark : in_walking_order(marks)) {
    walk_to(walk, mark);
    stand(walk, seconds);
  }
}

hand_made_walk course_walk(const walk_marks &marks) {
  hand_made_walk walk;
  walk_course(walk, marks, 12.0);
  return walk;
}

hand_made_walk sparse_walk(const walk_marks &marks, const walk_place &place) {
  hand_made_walk walk;
  walk.place = place;
  walk.rate = 0.4;
  walk.at = marks.start;
  for (const vec3 &mark : in_walking_order(marks)) {
    walk.speed = std::max(1.0, way_length(walk.at, mark)) * walk.rate / 3.0;
    walk_to(walk, mark);
    stand(walk, 10.0);
  }
  return walk;
}

vec3 wgs84_of(const walk_place &place, const vec3 &position) {
  constexpr double a = 6378137.0;
  constexpr double e2 = 0.0066943799901413165;
  const double sin_phi = std::sin(place.latitude * degree);
  const double w = std::sqrt(1.0 - e2 * sin_phi * sin_phi);
  const double meridian_radius = a * (1.0 - e2) / (w * w * w) + place.height;
  const double parallel_radius = (a / w + place.height) * std::cos(place.latitude * degree);
  const double s = std::sin(place.bearing * degree);
  const double c = std::cos(place.bearing * degree);
  const double east = position.x * s - position.y * c;
  const double north = position.x * c + position.y * s;
  return {place.latitude + north / meridian_radius / degree, place.longitude + east / parallel_radius / degree,
          place.height + position.z};
}

gate gate_of(const std::vector<gps_point> &samples) {
  gate course;
  if (!try_resize(course.track, samples.size())) throw std::runtime_error("no memory for a hand-made walk");
  std::copy(samples.begin(), samples.end(), course.track.get());
  course.track_len = static_cast<std::uint32_t>(samples.size());
  return course;
}

std::string walk_text(const std::vector<gps_point> &samples) {
  std::string text = "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV\n(),(deg),(deg),(m),(m/s),,,(m),(m),,\n";
  for (const gps_point &sample : samples) {
    char row[160];
    std::snprintf(row, sizeof row, ",%.9f,%.9f,%.3f,0,0,0,%.2f,%.2f,0.2,15\n", sample.pos_wgs84.x, sample.pos_wgs84.y,
                  sample.pos_wgs84.z, static_cast<double>(sample.hacc), static_cast<double>(sample.vacc));
    text += time_text(sample.time) + row;
  }
  return text;
}

}  // namespace tarvel

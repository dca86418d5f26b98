#include "support/simulator.h"

#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <vector>

namespace tarvel {

namespace {

constexpr double pi = 3.141592653589793;
constexpr double semi_major_axis = 6378137.0;
constexpr double eccentricity_squared = 0.0066943799901413165;

constexpr double plane_speed = 45.0;
constexpr double canopy_speed = 12.0;
constexpr double freefall_acceleration = 9.0;
constexpr double opening_seconds = 3.0;
constexpr double circle_seconds = 60.0;
constexpr double substeps = 8.0;  // of the integration, per sample

double radians(double degrees) { return pi * degrees / 180.0; }

// Rises from 0 at 0 to 1 at 1, with slope 0 at both ends.
double eased(double part) {
  if (part <= 0.0) return 0.0;
  if (part >= 1.0) return 1.0;
  return part * part * (3.0 - 2.0 * part);
}

double between(double from, double to, double part) { return from + (to - from) * eased(part); }

// Seconds from the first sample to the end of each phase.
struct timetable {
  double exit = 0.0;
  double opening = 0.0;
  double canopy = 0.0;
  double turn_start = 0.0;
  double rollout_start = 0.0;
  double level = 0.0;
  double gate = 0.0;
  double stop = 0.0;
  double end = 0.0;
};

timetable timetable_of(const simulated_run &run) {
  timetable t;
  t.exit = run.plane_seconds;
  t.opening = t.exit + run.freefall_seconds;
  t.canopy = t.opening + (run.freefall_seconds > 0.0 ? opening_seconds : 0.0);
  t.turn_start = t.canopy + run.canopy_seconds;
  t.rollout_start = t.turn_start + run.turn_seconds;
  t.level = t.rollout_start + run.rollout_seconds;
  t.gate = t.level + run.gate_delay;
  t.stop = t.level + run.swoop_seconds;
  t.end = t.stop + run.standing_seconds;
  return t;
}

// The eased ramps cover half of speed times time each.
double sink_rate(const simulated_run &run) {
  const double fastest = run.freefall_seconds * freefall_acceleration;
  const double opening = run.freefall_seconds > 0.0 ? opening_seconds : 0.0;
  const double above = 0.5 * fastest * (run.freefall_seconds + opening);
  const double below = 0.5 * run.dive_speed * (run.turn_seconds + run.rollout_seconds);
  const double sink_seconds = run.canopy_seconds + 0.5 * (opening + run.turn_seconds);
  return (run.exit_height - run.swoop_height - above - below) / sink_seconds;
}

struct flight_state {
  double descent = 0.0;     // m/s
  double horizontal = 0.0;  // m/s
  double direction = 0.0;   // degrees counter-clockwise from the direction of flight at the gate
};

double swoop_speed_at(const simulated_run &run, double seconds) {
  return seconds >= run.swoop_seconds ? 0.0 : run.swoop_speed * (1.0 - seconds / run.swoop_seconds);
}

// Metres flown since the end of the rollout, this number of seconds after it.
double swoop_distance_at(const simulated_run &run, double seconds) {
  const double t = std::fmin(seconds, run.swoop_seconds);
  return run.swoop_speed * (t - 0.5 * t * t / run.swoop_seconds);
}

flight_state state_at(const simulated_run &run, const timetable &plan, double t) {
  const double fastest = run.freefall_seconds * freefall_acceleration;
  const double sink = sink_rate(run);
  if (t < plan.exit) return {0.0, plane_speed, run.turn_degrees};
  if (t < plan.opening) {
    const double part = (t - plan.exit) / run.freefall_seconds;
    // Constant acceleration until the canopy opens.
    return {fastest * part, between(plane_speed, canopy_speed, part), run.turn_degrees};
  }
  if (t < plan.canopy) {
    return {between(fastest, sink, (t - plan.opening) / opening_seconds), canopy_speed, run.turn_degrees};
  }
  if (t < plan.turn_start) {
    // Whole circles, so that the turn starts in the right direction.
    const double seconds = run.canopy_seconds - run.straight_seconds;
    const double circles = std::floor(seconds / circle_seconds);
    const double part = std::fmin((t - plan.canopy) / seconds, 1.0);
    return {sink, canopy_speed, run.turn_degrees + 360.0 * std::fmod(circles * part, 1.0)};
  }
  if (t < plan.rollout_start) {
    const double part = (t - plan.turn_start) / run.turn_seconds;
    return {between(sink, run.dive_speed, part), canopy_speed, run.turn_degrees * (1.0 - eased(part))};
  }
  if (t < plan.level) {
    const double part = (t - plan.rollout_start) / run.rollout_seconds;
    return {between(run.dive_speed, 0.0, part), between(canopy_speed, run.swoop_speed, part), 0.0};
  }
  const double seconds = t - plan.level;
  const double behind_gate = swoop_distance_at(run, seconds) - swoop_distance_at(run, run.gate_delay);
  return {0.0, swoop_speed_at(run, seconds), behind_gate > 0.0 ? run.carve_rate * behind_gate : 0.0};
}

void set_speed(course_sample &sample, const flight_state &state) {
  sample.vx = state.horizontal * std::cos(radians(state.direction));
  sample.vy = state.horizontal * std::sin(radians(state.direction));
  sample.vz = -state.descent;
}

void advance(course_sample &sample, const flight_state &middle, double seconds) {
  course_sample speed;
  set_speed(speed, middle);
  sample.x += speed.vx * seconds;
  sample.y += speed.vy * seconds;
  sample.z += speed.vz * seconds;
}

std::size_t sample_count(const simulated_run &run) {
  return static_cast<std::size_t>(std::floor(timetable_of(run).end * run.rate + 1e-6)) + 1;
}

// Where the run is at a time, on the way from the sample before it.
course_sample moved_to(const simulated_run &run, const timetable &plan, course_sample sample, double from, double to) {
  const double step = (to - from) / substeps;
  for (double k = 0.0; k < substeps; ++k) advance(sample, state_at(run, plan, from + (k + 0.5) * step), step);
  return sample;
}

// Integrated from the first sample, then shifted so that the run crosses the gate's line at the right place.
std::vector<course_sample> fly(const simulated_run &run) {
  const timetable plan = timetable_of(run);
  std::vector<course_sample> samples(sample_count(run));
  course_sample at;
  course_sample gate;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double t = static_cast<double>(i) / run.rate;
    samples[i] = at;
    set_speed(samples[i], state_at(run, plan, t));
    const double next = t + 1.0 / run.rate;
    if (t <= plan.gate && plan.gate < next) gate = moved_to(run, plan, at, t, plan.gate);
    at = moved_to(run, plan, at, t, next);
  }
  const double side = run.reversed ? -1.0 : 1.0;
  for (course_sample &sample : samples) {
    sample.x = side * (sample.x - gate.x);
    sample.y = side * (sample.y - gate.y) + run.gate_offset;
    sample.z += run.swoop_height - gate.z;
    sample.vx *= side;
    sample.vy *= side;
  }
  return samples;
}

// The position and direction of the course on the ellipsoid.
struct placement {
  double east_x, east_y;  // parts of the course axes towards east and north
  double north_x, north_y;
  double metres_per_latitude, metres_per_longitude;  // per degree, at the gate
};

placement placement_of(const simulated_run &run) {
  const double bearing = radians(run.course_bearing);
  const double phi = radians(run.gate_latitude);
  const double w = std::sqrt(1.0 - eccentricity_squared * std::sin(phi) * std::sin(phi));
  const double meridian = semi_major_axis * (1.0 - eccentricity_squared) / (w * w * w) + run.gate_height;
  const double normal = semi_major_axis / w + run.gate_height;
  return {std::sin(bearing), -std::cos(bearing), std::cos(bearing),
          std::sin(bearing), radians(meridian),  radians(normal * std::cos(phi))};
}

// Errors between -1 and 1 that look random and are the same everywhere.
class error_source {
 public:
  double next() {
    // Knuth's multiplier for 64 bits. The upper half of the bits is used, which is more random.
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return static_cast<double>(state_ >> 32U) / 2147483648.0 - 1.0;
  }

 private:
  std::uint64_t state_ = 1;
};

[[gnu::format(printf, 2, 3)]] void append(std::string &text, const char *format, ...) {
  char line[256];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  text += line;
}

void append_time(std::string &text, double seconds) {
  using namespace std::chrono;
  const auto start = sys_days(year(2026) / May / 16) + hours(10);
  const auto time = start + milliseconds(std::llround(1000.0 * seconds));
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(floor<milliseconds>(time - day));
  append(text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
         static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
         static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
         static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
}

void append_row(std::string &text, const simulated_run &run, const placement &place, const course_sample &s,
                error_source &errors) {
  const double east = s.x * place.east_x + s.y * place.east_y;
  const double north = s.x * place.north_x + s.y * place.north_y;
  append(text, ",%.7f,%.7f,%.3f", run.gate_latitude + north / place.metres_per_latitude,
         run.gate_longitude + east / place.metres_per_longitude, run.gate_height + s.z);
  const double north_speed = s.vx * place.north_x + s.vy * place.north_y + run.speed_noise * errors.next();
  const double east_speed = s.vx * place.east_x + s.vy * place.east_y + run.speed_noise * errors.next();
  const double down_speed = -s.vz + run.speed_noise * errors.next();
  append(text, ",%.2f,%.2f,%.2f,0.512,0.778,0.21", north_speed, east_speed, down_speed);
  text += run.all_columns ? ",0.00000,0.51234,3,17\n" : ",17\n";
}

}  // namespace

std::vector<course_sample> flown_samples(const simulated_run &run) { return fly(run); }

exact_row exact_row_of(const simulated_run &run, const course_sample &at) {
  const placement place = placement_of(run);
  const double east = at.x * place.east_x + at.y * place.east_y;
  const double north = at.x * place.north_x + at.y * place.north_y;
  return {run.gate_latitude + north / place.metres_per_latitude,
          run.gate_longitude + east / place.metres_per_longitude,
          run.gate_height + at.z,
          at.vx * place.north_x + at.vy * place.north_y,
          at.vx * place.east_x + at.vy * place.east_y,
          -at.vz};
}

simulated_truth truth_of(const simulated_run &run) {
  const timetable plan = timetable_of(run);
  return {plan.gate, swoop_speed_at(run, run.gate_delay),
          swoop_distance_at(run, run.swoop_seconds) - swoop_distance_at(run, run.gate_delay), plan.end};
}

std::string simulated_track(const simulated_run &run) {
  const bool is_tagged = run.form == track_form::tagged_lines;
  const char *const names = run.all_columns
                                ? "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,heading,cAcc,gpsFix,numSV\n"
                                : "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV\n";
  std::string text = is_tagged ? "$VER,1\n$COL,GNSS," : "";
  text += names;
  text += is_tagged ? "$DATA\n" : "(),(deg),(deg),(m),(m/s),(m/s),(m/s),(m),(m),(m/s)\n";

  const placement place = placement_of(run);
  const std::vector<course_sample> samples = fly(run);
  error_source errors;
  text.reserve(samples.size() * 128);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (is_tagged) text += "$GNSS,";
    append_time(text, static_cast<double>(i) / run.rate);
    append_row(text, run, place, samples[i], errors);
  }
  return text;
}

std::string simulated_course(const simulated_run &run) {
  const double phi = radians(run.gate_latitude);
  const double lambda = radians(run.gate_longitude);
  const double east[3] = {-std::sin(lambda), std::cos(lambda), 0.0};
  const double north[3] = {-std::sin(phi) * std::cos(lambda), -std::sin(phi) * std::sin(lambda), std::cos(phi)};
  const double up[3] = {std::cos(phi) * std::cos(lambda), std::cos(phi) * std::sin(lambda), std::sin(phi)};
  const double n = semi_major_axis / std::sqrt(1.0 - eccentricity_squared * std::sin(phi) * std::sin(phi));
  const double origin[3] = {(n + run.gate_height) * up[0], (n + run.gate_height) * up[1],
                            ((1.0 - eccentricity_squared) * n + run.gate_height) * up[2]};
  const placement place = placement_of(run);
  std::string text;
  for (int row = 0; row < 3; ++row) {
    double axis[3];
    double translation = 0.0;
    for (int i = 0; i < 3; ++i) {
      const double along = place.east_x * east[i] + place.north_x * north[i];
      const double across = place.east_y * east[i] + place.north_y * north[i];
      axis[i] = row == 0 ? along : row == 1 ? across : up[i];
      translation -= axis[i] * origin[i];
    }
    append(text, "[%12.9f, %12.9f, %12.9f, %12.3f]\n", axis[0], axis[1], axis[2], translation);
  }
  return text + "[ 0.000000000,  0.000000000,  0.000000000,        1.000]\n";
}

simulated_run stretched_to(simulated_run run, std::size_t samples) {
  run.canopy_seconds += static_cast<double>(samples - 1) / run.rate - timetable_of(run).end;
  return run;
}

simulated_run small_run() {
  simulated_run run;
  run.rate = 1.0;
  run.all_columns = false;
  run.plane_seconds = 0.0;
  run.freefall_seconds = 0.0;
  run.exit_height = 790.0;
  run.canopy_seconds = 30.0;
  run.standing_seconds = 1.0;
  return run;
}

}  // namespace tarvel

#include "split/stretches.h"

#include <cmath>
#include <utility>

#include "split/descents.h"
#include "split/jump_phases.h"
#include "support/time.h"
#include "support/units.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

constexpr double ground_height = 100.0;  // m above a landing, up to which a rest is on the ground
// m from the stop; more than the 75 ft within which the analysis assumes that the pilot rests at the stop.
constexpr double far_from_stop = 30.0;
constexpr std::int64_t time_before_climb = 10000;  // ms of the rest, before the climb
constexpr std::int64_t time_after_stop = 60000;    // ms
constexpr std::int64_t shortest_ground = 60000;    // ms; a shorter stretch on the ground belongs to the jump

constexpr std::uint32_t fewest_samples = 16;  // of a recording on the ground; a shorter one belongs to the one before
constexpr double climb_feet = 500.0;
constexpr std::int64_t longest_lost_fix = 600000;  // ms; after a longer pause on the ground the logger was off
constexpr double walk_window = 10.0;               // s
constexpr double slowest_walk = 0.6;               // m/s
constexpr double fastest_walk = 4.0;               // m/s
constexpr double walked_share = 0.25;

using samples_view = std::span<const gps_point>;

std::int64_t time_between(samples_view samples, std::uint32_t first, std::uint32_t last) {
  return elapsed(samples[first].time, samples[last].time);
}

// The first sample of [first, end) after an interruption, or end.
std::uint32_t find_interruption(samples_view samples, std::uint32_t first, std::uint32_t end) {
  for (std::uint32_t i = first + 1; i < end; ++i) {
    if (is_interrupted(samples[i - 1], samples[i])) return i;
  }
  return end;
}

// The first sample at rest after the landing; without one before an interruption, the last slow sample on the ground.
std::uint32_t find_settled(samples_view samples, const descent &found, std::uint32_t limit) {
  const std::uint32_t end = find_interruption(samples, found.landing, limit);
  std::uint32_t last_slow = found.landing;
  for (std::uint32_t i = found.landing; i < end; ++i) {
    if (is_at_rest(samples[i])) return i;
    const double climb = raw_altitude(samples[i]) - raw_altitude(samples[found.landing]);
    if (is_slow(samples[i]) && std::fabs(climb) < ground_height) last_slow = i;
  }
  return last_slow;
}

// Decides whether a sample at rest is on the ground or, for example, in a balloon: by the heights of the landings
// before and after it.
struct ground_levels {
  samples_view samples;
  const descent *before;
  const descent *after;

  [[nodiscard]] bool is_ground(std::uint32_t i) const { return is_at(i, before) || is_at(i, after); }

 private:
  [[nodiscard]] bool is_at(std::uint32_t i, const descent *landed) const {
    return landed != nullptr && landed->has_landed &&
           raw_altitude(samples[i]) - raw_altitude(samples[landed->landing]) < ground_height;
  }
};

// The first sample of the rest that ends with the sample `last`, at most ten seconds before it.
std::uint32_t rest_before(samples_view samples, std::uint32_t first, std::uint32_t last) {
  std::uint32_t begin = last;
  while (begin > first && is_at_rest(samples[begin - 1]) && !is_interrupted(samples[begin - 1], samples[begin]) &&
         time_between(samples, begin - 1, last) <= time_before_climb) {
    --begin;
  }
  return begin;
}

// The first sample of the jump whose highest sample is given, not before `first`.
std::uint32_t find_begin(const ground_levels &levels, std::uint32_t first, std::uint32_t highest) {
  const samples_view samples = levels.samples;
  std::uint32_t rest = highest + 1;
  for (std::uint32_t i = highest + 1; i > first && rest > highest; --i) {
    if (is_at_rest(samples[i - 1]) && levels.is_ground(i - 1)) rest = i - 1;
  }
  if (rest > highest) return first;
  for (std::uint32_t i = rest + 1; i <= highest; ++i) {
    if (!levels.is_ground(i - 1)) break;
    if (is_interrupted(samples[i - 1], samples[i])) return i;
  }
  return rest_before(samples, first, rest);
}

// One past the last sample of a jump, at most the limit.
std::uint32_t find_end(samples_view samples, std::uint32_t stop, std::uint32_t settled, std::uint32_t limit) {
  const std::uint32_t end = find_interruption(samples, settled, limit);
  bool has_left = false;
  for (std::uint32_t i = stop; i + 1 < end; ++i) {
    if (plan_distance(samples[stop], samples[i]) > far_from_stop) has_left = true;
    const bool is_enough = has_left && i >= settled && time_between(samples, stop, i) >= time_after_stop;
    if (!is_enough || !is_at_rest(samples[i])) continue;
    return time_between(samples, i, end - 1) < shortest_ground ? end : i + 1;
  }
  return end;
}

// The first sample of [first, end) at which another recording begins, or end.
std::uint32_t find_recording(samples_view samples, std::uint32_t first, std::uint32_t end) {
  for (std::uint32_t i = first + fewest_samples; i < end; ++i) {
    const bool was_off = time_between(samples, i - 1, i) > longest_lost_fix;
    if (was_off || is_clock_set_back(samples[i - 1], samples[i])) return i;
  }
  return end;
}

// Measures for which share of the time the logger is carried on foot. The velocity is averaged over windows of ten
// seconds, in which the noise of a logger at rest cancels out.
class walk_measure {
 public:
  void add(const gps_point &before, const gps_point &sample) {
    const std::int64_t step = elapsed(before.time, sample.time);
    if (is_interrupted(before, sample)) return;
    const double seconds = static_cast<double>(step) / 1000.0;
    north_ += sample.vel_ltp.x * seconds;
    east_ += sample.vel_ltp.y * seconds;
    window_ += seconds;
    if (window_ < walk_window) return;
    const double speed = std::hypot(north_, east_) / window_;
    all_ += window_;
    if (speed > slowest_walk && speed < fastest_walk) walked_ += window_;
    north_ = east_ = window_ = 0.0;
  }

  [[nodiscard]] bool is_walk() const { return walked_ > walked_share * all_; }

 private:
  double north_ = 0.0;  // m in this window
  double east_ = 0.0;
  double window_ = 0.0;  // s
  double walked_ = 0.0;  // s
  double all_ = 0.0;
};

stretch_kind ground_kind(samples_view samples) {
  const double climb = raw_altitude(samples.back()) - raw_altitude(samples.front());
  if (feet_per_metre * climb > climb_feet && !is_at_rest(samples.back())) return stretch_kind::climb;
  walk_measure measure;
  for (std::size_t i = 1; i < samples.size(); ++i) measure.add(samples[i - 1], samples[i]);
  return measure.is_walk() ? stretch_kind::walk : stretch_kind::ground;
}

class stretch_builder {
 public:
  stretch_builder(samples_view samples, const descent_list &descents)
      : samples_(samples), descents_(descents.descents.get(), descents.count) {}

  // False when memory is short; the slot is set.
  bool build(error_slot *error) {
    std::uint32_t first = 0;
    for (std::uint32_t k = 0; k < descents_.size(); ++k) {
      if (!add_descent(k, first, error)) return false;
    }
    return add_ground(first, size(), error);
  }

  stretch_list take() { return std::move(list_); }

 private:
  [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(samples_.size()); }

  // Appends the stretches on the ground before the jump and that of the jump. first is one past the stretch before,
  // afterwards one past the jump.
  bool add_descent(std::uint32_t k, std::uint32_t &first, error_slot *error) {
    const std::uint32_t begin = begin_of(k);
    const std::uint32_t limit = k + 1 < descents_.size() ? descents_[k + 1].highest : size();
    const descent &found = descents_[k];
    const std::uint32_t settled = found.has_landed ? find_settled(samples_, found, limit) : found.landing;
    settled_ = settled;

    const jump_phases phases = find_jump_phases(samples_.subspan(begin, settled + 1 - begin), error);
    if (*error) return false;
    stretch jump;
    jump.kind = phases.has_dive ? stretch_kind::run : stretch_kind::descent;
    jump.number = k + 1;
    jump.ends_in_the_air = !found.has_landed;
    if (phases.exit != 0) {
      jump.exit = begin + phases.exit;
      jump.exit_height = phases.exit_height;
    }
    const std::uint32_t next = k + 1 < descents_.size() ? begin_of(k + 1) : size();
    const std::uint32_t stop = phases.stop != 0 ? begin + phases.stop : settled;
    const std::uint32_t end = found.has_landed ? find_end(samples_, stop, settled, next) : settled + 1;
    jump.samples = {begin, end};
    if (!add_ground(first, begin, error) || !add(jump, error)) return false;
    first = end;
    return true;
  }

  // The first sample of jump k. Needs settled_.
  std::uint32_t begin_of(std::uint32_t k) {
    const descent *const before = k == 0 ? nullptr : &descents_[k - 1];
    const std::uint32_t first = k == 0 ? 0 : settled_ + 1;
    const std::uint32_t begin = find_begin({samples_, before, &descents_[k]}, first, descents_[k].highest);
    const bool is_short = k == 0 && find_interruption(samples_, 0, begin + 1) > begin &&
                          time_between(samples_, 0, begin) < shortest_ground;
    return is_short ? 0 : begin;
  }

  bool add_ground(std::uint32_t first, std::uint32_t end, error_slot *error) {
    while (first < end) {
      std::uint32_t next = find_recording(samples_, first, end);
      if (end - next < fewest_samples) next = end;
      if (!add({ground_kind(samples_.subspan(first, next - first)), {first, next}}, error)) return false;
      first = next;
    }
    return true;
  }

  bool add(const stretch &part, error_slot *error) {
    constexpr std::uint32_t first_capacity = 16;
    if (try_append(list_.stretches, list_.count, list_.capacity, first_capacity, part)) return true;
    *error = "realloc failed";
    return false;
  }

  samples_view samples_;
  std::span<const descent> descents_;
  stretch_list list_;
  std::uint32_t settled_ = 0;  // the sample at which the previous descent came to rest
};

}  // namespace

void find_stretches(std::span<const gps_point> samples, stretch_list &list, error_slot *error) {
  *error = nullptr;
  descent_list descents;
  find_descents(samples, descents, error);
  if (*error) return;
  stretch_builder builder(samples, descents);
  if (builder.build(error)) list = builder.take();
}

}  // namespace tarvel

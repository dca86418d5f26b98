#include "verdict/reason_text.h"

#include <array>
#include <cmath>

#include "verdict/percent.h"

namespace tarvel {

namespace {

// The last three are numbers of these, which may be 1.
enum class reason_unit {
  number,
  seconds,
  part,
  metres,
  feet,
  metres_per_second,
  mph,
  samples,
  satellites,
  clock_steps,
};

struct reason_words {
  reason_code code;
  reason_unit unit;
  const char *words;  // after the figure
};

// In the order of the codes.
constexpr std::array<reason_words, reason_count> words_of_reasons = {{
    {reason_code::gap, reason_unit::seconds,
     "without samples between 15 s before the turn and the stop; wear the logger where it sees the sky"},
    {reason_code::gap_at_gate, reason_unit::seconds,
     "without samples while a gate was crossed: what is given are bounds; judge that score by eye"},
    {reason_code::clock_steps_back, reason_unit::clock_steps,
     "of the clock back between the turn and the stop; copy the track from the logger again"},
    {reason_code::times_repeat, reason_unit::samples,
     "at the time of the one before, between the turn and the stop; copy the track from the logger again"},
    {reason_code::times_out_of_order, reason_unit::samples,
     "at or before the time of the one before, so that no intervals are given; copy the track from the logger "
     "again"},
    {reason_code::fix_lost, reason_unit::samples,
     "between the turn and the stop without a position in three dimensions; do not score this run"},
    {reason_code::few_satellites, reason_unit::satellites,
     "at the fewest; switch the logger on minutes before the exit, under the open sky"},
    {reason_code::no_satellites, reason_unit::satellites,
     "at the fewest, too few for a position; do not score this run"},
    {reason_code::poor_accuracy, reason_unit::number,
     "times the usual accuracy at the worst; compare with a second logger before scoring"},
    {reason_code::no_accuracy, reason_unit::number, "times the usual accuracy at the worst; do not score this run"},
    {reason_code::contradiction, reason_unit::metres,
     "between the way by positions and the way by speeds over a second; compare with a second logger before scoring"},
    {reason_code::no_agreement, reason_unit::metres,
     "between the way by positions and the way by speeds over a second: not of one flight; do not score this run"},
    {reason_code::passing_contradiction, reason_unit::number,
     "times the usual contradiction of positions and speeds at the worst: reflected signals; compare with a second "
     "logger"},
    {reason_code::impossible_jerk, reason_unit::number,
     "m/s3 of jerk at the most, more than a canopy can do: reflected signals; compare with a second logger"},
    {reason_code::noise_beyond_statement, reason_unit::number,
     "times the noise that the logger states, so that the phases get no intervals; compare with a second logger to "
     "know them"},
    {reason_code::noise_far_beyond_statement, reason_unit::number,
     "times the noise that the logger states: it does not know its reception; compare with a second logger"},
    {reason_code::white_noise, reason_unit::number,
     "times the roughness that the noise should have, so that the phases get no intervals; set the logger to a dynamic "
     "mode for flight"},
    {reason_code::sparse_samples, reason_unit::seconds,
     "between samples: too far apart to distinguish noise from flight, so that the phases get no intervals; set the "
     "logger to five samples a second or more"},
    {reason_code::not_drawn, reason_unit::number,
     "samples matter to the figures, too many to draw, so that no intervals are given; take the one run out of the "
     "track with tarvel-split -w"},
    {reason_code::unsolvable, reason_unit::number,
     "samples matter to the figures, and some hold numbers that allow no flight, so that no intervals are given; copy "
     "the track from the logger again"},
    {reason_code::draws_fail, reason_unit::part,
     "of the drawn tracks cannot be analysed; look at the charts before scoring"},
    {reason_code::wide_gate_speed, reason_unit::metres_per_second,
     "from end to end of the gate speed's interval; take runs that differ by less for equal"},
    {reason_code::wide_distance, reason_unit::metres,
     "from end to end of the distance's interval; take runs that differ by less for equal"},
    {reason_code::wide_carve_time, reason_unit::seconds,
     "from end to end of the carve time's interval; take runs that differ by less for equal"},
    {reason_code::figures_missing, reason_unit::part,
     "of the drawn tracks lack a score that this run has; judge the gates by eye"},
    {reason_code::rotation_undecided, reason_unit::part,
     "of the drawn tracks turn the other way round; look at the heading chart before you call the turn"},
    {reason_code::rotation_uncertain, reason_unit::part,
     "of the drawn tracks turn by 45 degrees more or less; look at the heading chart before you call the turn"},
    {reason_code::horizontal_lag, reason_unit::seconds,
     "that horizontal speeds lag behind positions; speeds at the gates are those of that much before"},
    {reason_code::vertical_lag, reason_unit::seconds,
     "that vertical speeds lag behind positions; turn and rollout began higher by the descent in that time"},
    {reason_code::no_dive, reason_unit::mph, "of descent at the most: this is no swoop; score another track"},
    {reason_code::too_fast_for_canopy, reason_unit::mph,
     "of descent, faster than any canopy dives; is this a fall, or a flight in a suit?"},
    {reason_code::levelled_slow, reason_unit::mph,
     "over the ground at the end of the rollout; score it only if it was a swoop against a strong wind"},
    {reason_code::ends_in_air, reason_unit::feet,
     "above the ground at the stop, so that it is none; let the logger run until you stand"},
    {reason_code::ends_early, reason_unit::seconds,
     "recorded behind the stop; let the logger run until you stand for some seconds"},
    {reason_code::several_runs, reason_unit::number,
     "descents; take the one run out of the track with tarvel-split -w"},
    {reason_code::exit_of_another_run, reason_unit::feet,
     "at the lowest between the exit and the turn: the exit is that of an earlier run; take the one run out of the "
     "track with tarvel-split -w"},
    {reason_code::gate_of_another_run, reason_unit::seconds,
     "from the landing that gives the gate to this turn: the gate is that of an earlier run; take the one run out of "
     "the track with tarvel-split -w"},
    {reason_code::levelled_high, reason_unit::feet,
     "above the ground at the end of the rollout; do not compare this distance with others"},
    {reason_code::gate_not_crossed, reason_unit::metres,
     "between the run and the gate, which was not crossed; is this the run's course?"},
    {reason_code::far_from_gate, reason_unit::metres,
     "between the run and the gate: this is not the run's course; give the right one, or use -i"},
    {reason_code::beside_the_gate, reason_unit::metres,
     "from the gate's centre, beyond its half width; judge by eye whether the run was through the gate"},
    {reason_code::heights_differ, reason_unit::feet,
     "from the gate up to the stop: unless the ground rises by it, all heights of this run are wrong by as much, the "
     "scores are not; survey the course again, on the day of the run"},
    {reason_code::touchdown_moves, reason_unit::mph,
     "at the end of the track, whose place is taken for the touchdown; stand there until the track ends, or use -t"},
    {reason_code::touchdown_is_stop, reason_unit::metres,
     "from the gate to the stop, which is taken for the touchdown: nobody marked it; stand there, or use -t"},
}};

constexpr bool are_in_order() {
  for (std::size_t i = 0; i < reason_count; ++i) {
    if (words_of_reasons[i].code != static_cast<reason_code>(i)) return false;
  }
  return true;
}
static_assert(are_in_order());

const reason_words &words_of(reason_code code) { return words_of_reasons[static_cast<std::size_t>(code)]; }

struct shown_figure {
  double value;
  int decimals;
  const char *unit;
};

shown_figure counted(double count, const char *one, const char *several) {
  return {count, 0, count == 1.0 ? one : several};
}

shown_figure shown(const reason &each, const display_units &units) {
  const double feet = units.length_factor / feet_per_metre;
  const double mph = units.speed_factor / mph_per_mps;
  switch (words_of(each.code).unit) {
    case reason_unit::number: break;
    case reason_unit::seconds: return {each.measured, 2, " s"};
    case reason_unit::part: return {percent_rounded_up(each.measured), 0, " %"};
    case reason_unit::metres: return {each.measured * units.length_factor, 1, units.length};
    case reason_unit::feet: return {each.measured * feet, 0, units.length};
    case reason_unit::metres_per_second: return {each.measured * units.speed_factor, 1, units.speed};
    case reason_unit::mph: return {each.measured * mph, 0, units.speed};
    case reason_unit::samples: return counted(each.measured, " sample", " samples");
    case reason_unit::satellites: return counted(each.measured, " satellite", " satellites");
    case reason_unit::clock_steps: return counted(each.measured, " step", " steps");
  }
  return {each.measured, std::floor(each.measured) == each.measured ? 0 : 1, ""};
}

// A small negative value would be printed as "-0".
double without_negative_zero(double value, int decimals) {
  const bool is_zero = std::signbit(value) && value >= -0.5 * std::pow(10.0, -decimals);
  return is_zero ? 0.0 : value;
}

}  // namespace

void append_reason_sentence(text_buffer &text, const reason &each, const display_units &units) {
  const shown_figure figure = shown(each, units);
  const bool is_close = figure.unit[0] == ' ' || figure.unit[0] == '\0';
  const double value = without_negative_zero(figure.value, figure.decimals);
  text_buffer_printf(text, "%.*f%s%s %s", figure.decimals, value, is_close ? "" : " ", figure.unit,
                     words_of(each.code).words);
}

reason_value value_of(const reason &each) {
  switch (words_of(each.code).unit) {
    case reason_unit::number:
    case reason_unit::part:
    case reason_unit::samples:
    case reason_unit::satellites:
    case reason_unit::clock_steps: break;
    case reason_unit::seconds: return {each.measured, "s"};
    case reason_unit::metres: return {each.measured, "m"};
    case reason_unit::feet: return {each.measured / feet_per_metre, "m"};
    case reason_unit::metres_per_second: return {each.measured, "m/s"};
    case reason_unit::mph: return {each.measured / mph_per_mps, "m/s"};
  }
  return {each.measured, nullptr};
}

}  // namespace tarvel

#include "track/columns.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <span>
#include <system_error>
#include <utility>

#include "track/decimal.h"
#include "track/time_field.h"

namespace tarvel {

namespace {

// The low 8 bits of what strtoul gives. std::from_chars is faster and reads nearly every count.
std::uint8_t read_small_count(std::string_view text) {
  const char *const last = text.data() + text.size();
  std::uint8_t count = 0;
  if (std::from_chars(text.data(), last, count).ec == std::errc()) return count;
  return static_cast<std::uint8_t>(std::strtoul(text.data(), nullptr, 10));
}

void ignore(std::string_view, gps_point &, error_slot *) {}

void store_latitude(std::string_view text, gps_point &sample, error_slot *) { sample.pos_wgs84.x = read_decimal(text); }
void store_longitude(std::string_view text, gps_point &sample, error_slot *) {
  sample.pos_wgs84.y = read_decimal(text);
}
void store_height(std::string_view text, gps_point &sample, error_slot *) { sample.pos_wgs84.z = read_decimal(text); }
void store_north(std::string_view text, gps_point &sample, error_slot *) { sample.vel_ltp.x = read_decimal(text); }
void store_east(std::string_view text, gps_point &sample, error_slot *) { sample.vel_ltp.y = read_decimal(text); }
void store_down(std::string_view text, gps_point &sample, error_slot *) { sample.vel_ltp.z = read_decimal(text); }

// Read in double precision and narrowed: reading in single precision rounds once less and differs in the last bit.
void store_hacc(std::string_view text, gps_point &sample, error_slot *) {
  sample.hacc = static_cast<float>(read_decimal(text));
}
void store_vacc(std::string_view text, gps_point &sample, error_slot *) {
  sample.vacc = static_cast<float>(read_decimal(text));
}
void store_sacc(std::string_view text, gps_point &sample, error_slot *) {
  sample.sacc = static_cast<float>(read_decimal(text));
}

void store_numsv(std::string_view text, gps_point &sample, error_slot *) { sample.numsv = read_small_count(text); }
void store_gpsfix(std::string_view text, gps_point &sample, error_slot *) { sample.gpsfix = read_small_count(text); }

struct known_field {
  std::string_view name;
  column_action action;
  bool is_required;
};

constexpr std::array known_fields = {
    known_field{"time", parse_time_field, true}, known_field{"lat", store_latitude, true},
    known_field{"lon", store_longitude, true},   known_field{"hMSL", store_height, true},
    known_field{"velN", store_north, true},      known_field{"velE", store_east, true},
    known_field{"velD", store_down, true},       known_field{"hAcc", store_hacc, true},
    known_field{"vAcc", store_vacc, true},       known_field{"sAcc", store_sacc, true},
    known_field{"numSV", store_numsv, true},     known_field{"gpsFix", store_gpsfix, false},
    known_field{"heading", ignore, false},       known_field{"cAcc", ignore, false},
};

column_action action_for(std::string_view name, text_buffer &warnings) {
  for (const known_field &field : known_fields) {
    if (field.name == name) return field.action;
  }
  text_buffer_printf(warnings, "WARNING: unknown field (%s)\n", name.data());
  return ignore;
}

bool has_required_fields(std::span<const column_action> actions) {
  return std::all_of(known_fields.begin(), known_fields.end(), [&](const known_field &field) {
    return !field.is_required || std::find(actions.begin(), actions.end(), field.action) != actions.end();
  });
}

// Stops at the first warning that could not be appended: later ones might fit, and the printed list would have a gap.
outcome list_actions(track_file &file, column_actions &actions, text_buffer &warnings) {
  constexpr std::size_t first_capacity = 16;
  std::size_t count = 0;
  std::size_t capacity = 0;
  for (std::string_view name = next_field(file); name.data() != nullptr; name = next_field(file)) {
    const column_action action = action_for(name, warnings);
    if (*warnings.error != nullptr) return outcome::no_memory;
    if (!try_append(actions, count, capacity, first_capacity, action)) return outcome::no_memory;
  }
  if (!has_required_fields({actions.get(), count})) return outcome::not_this_form;
  return try_append(actions, count, capacity, first_capacity, nullptr) ? outcome::done : outcome::no_memory;
}

}  // namespace

outcome parse_field_names(track_file &file, column_actions &actions, text_buffer &warnings, error_slot *error) {
  column_actions named;
  const outcome result = list_actions(file, named, warnings);
  if (result == outcome::done) {
    actions = std::move(named);
  } else {
    *error = *warnings.error != nullptr ? *warnings.error : "invalid field names";
  }
  return result;
}

outcome append_gps_point(track_file &file, const column_actions &actions, gps_track &track, error_slot *error) {
  if (!grow_track(track, error)) return outcome::no_memory;
  gps_point &sample = track.points[track.count];
  sample = gps_point();

  const column_action *action = actions.get();
  for (std::string_view text = next_field(file); text.data() != nullptr; text = next_field(file)) {
    if (*action == nullptr) return outcome::done;
    (*action)(text, sample, error);
    if (*error) return outcome::not_this_form;
    ++action;
  }
  ++track.count;
  return outcome::done;
}

}  // namespace tarvel

#include "document/result_json.h"

#include <string>

#include "document/track_json.h"
#include "swoop/report_figures.h"
#include "swoop/rollout.h"
#include "track/track_frames.h"

namespace tarvel {

namespace {

struct unit_names {
  const char *value;
  const char *text;
};

unit_names names_of(figure_unit unit, const display_units &units) {
  switch (unit) {
    case figure_unit::metres: return {"m", units.length};
    case figure_unit::metres_per_second: return {"m/s", units.speed};
    case figure_unit::seconds: return {"s", "sec"};
    case figure_unit::degrees: break;
  }
  return {"deg", "deg"};
}

// The figures collected so far.
struct figure_list {
  const display_units &units;
  json list = json::object();

  void add(const char *name, const report_figure &figure) {
    const unit_names names = names_of(figure.unit, units);
    list[name] = {{"value", figure.missing == nullptr ? json_number(figure.value) : json()},
                  {"unit", names.value},
                  {"text", static_cast<const char *>(print_figure(figure, units).text)},
                  {"text_unit", names.text}};
  }

  void add(const std::string &name, const report_point &point) {
    add((name + "_altitude").c_str(), point.altitude);
    add((name + "_back").c_str(), point.back);
    add((name + "_offset").c_str(), point.offset);
  }
};

// A moment of the run: at a sample, or between two samples.
struct moment {
  std::uint32_t index = 0;
  std::int64_t time = 0;
  vec3 place;
  vec3 velocity;
  double horizontal_speed = 0.0;
  double total_speed = 0.0;
};

moment moment_of(const gps_point &sample, std::uint32_t index) {
  return {index, sample.time, sample.pos_local, sample.vel_local, horizontal_speed(sample), total_speed(sample)};
}

moment sample_moment(const swoop &run, std::uint32_t index) { return moment_of(run.track[index], index); }

moment crossing_moment(const swoop &run, std::uint32_t index, std::int64_t time) {
  gps_point crossing;
  crossing.time = time;
  crossing.pos_local = position_at(run, index, time, &gps_point::pos_local);
  crossing.vel_local = position_at(run, index, time, &gps_point::vel_local);
  return moment_of(crossing, index);
}

moment rollout_end_moment(const swoop &run) {
  moment end = crossing_moment(run, run.bottom_of_turn, run.bottom_time);
  end.place = {run.bottom_xpos, run.bottom_ypos, run.bottom_zpos};
  return end;
}

moment entry_gate_moment(const swoop &run) {
  moment crossing = crossing_moment(run, run.entry_gate, run.entry_gate_time);
  crossing.place = {0.0, run.entry_gate_ypos, crossing.place.z};
  crossing.horizontal_speed = run.entry_gate_speed;
  return crossing;
}

moment exit_gate_moment(const swoop &run) {
  moment crossing = crossing_moment(run, run.exit_gate, run.exit_gate_time);
  crossing.place.x = run.exit_gate_xpos;
  crossing.horizontal_speed = run.exit_gate_speed;
  return crossing;
}

moment touchdown_moment(const swoop &run) {
  std::uint32_t before = run.stop;
  while (before > run.top_of_turn && run.track[before].time > run.touchdown_time) --before;
  moment touchdown = crossing_moment(run, before, run.touchdown_time);
  touchdown.place.x = run.touchdown_distance;
  touchdown.horizontal_speed = run.touchdown_speed;
  return touchdown;
}

json moment_as_json(const swoop &run, const moment &found) {
  json made = json::object();
  made["index"] = found.index;
  made["clock"] = clock_as_json(found.time);
  made["time"] = time_as_json(samples_of(run), found.time);
  made["x"] = json_number(found.place.x);
  made["y"] = json_number(found.place.y);
  made["z"] = json_number(found.place.z);
  made["horizontal_speed"] = json_number(found.horizontal_speed);
  made["vertical_speed"] = json_number(-found.velocity.z);
  made["total_speed"] = json_number(found.total_speed);
  return made;
}

}  // namespace

json figures_as_json(const swoop &run, const display_units &units) {
  const report_figures found = figures_of(run);
  figure_list figures = {units};
  figures.add("exit_altitude", found.exit_altitude);
  figures.add("turn", found.turn);
  figures.add("max_vertical_speed", found.max_vertical_speed.place);
  figures.add("max_vertical_speed", found.max_vertical_speed.speed);
  figures.add("rollout_start", found.rollout_start.place);
  figures.add("rollout_start_vertical_speed", found.rollout_start.speed);
  figures.add("rollout_end", found.rollout_end);
  figures.add("max_total_speed", found.max_total_speed.place);
  figures.add("max_total_speed", found.max_total_speed.speed);
  figures.add("max_horizontal_speed", found.max_horizontal_speed.place);
  figures.add("max_horizontal_speed", found.max_horizontal_speed.speed);
  figures.add("rotation", found.rotation);
  figures.list["rotation"]["direction"] = found.turn_direction;
  figures.add("turn_time", found.turn_time);
  figures.add("rollout_time", found.rollout_time);
  figures.add("aloft_time", found.aloft_time);
  figures.add("entry_gate_speed", found.entry_gate_speed);
  figures.add("stop_distance", found.stop_distance);
  figures.add("touchdown_distance", found.touchdown_distance);
  figures.add("touchdown_speed", found.touchdown_speed);
  figures.add("carve_time", found.carve_time);
  figures.add("exit_gate_speed", found.exit_gate_speed);
  return figures.list;
}

json phases_as_json(const swoop &run) {
  json phases = json::object();
  const auto add = [&](const char *name, const moment &found) { phases[name] = moment_as_json(run, found); };
  // For phases that a run may lack; their index is then 0. A run always has a turn, which may begin at sample 0.
  const auto add_if = [&](bool is_found, const char *name, const moment &found) {
    phases[name] = is_found ? moment_as_json(run, found) : json();
  };
  add_if(run.plane_exit != 0, "exit", sample_moment(run, run.plane_exit));
  add("pattern_entry", sample_moment(run, run.pattern_entry));
  add("turn", sample_moment(run, run.top_of_turn));
  add("max_vertical_speed", sample_moment(run, run.max_vert_speed));
  add("rollout_start", sample_moment(run, run.rollout));
  add("rollout_end", rollout_end_moment(run));
  add("max_total_speed", sample_moment(run, run.max_total_speed));
  add("max_horizontal_speed", sample_moment(run, run.max_horz_speed));
  add_if(run.entry_gate != 0, "entry_gate", entry_gate_moment(run));
  add_if(run.exit_gate != 0, "exit_gate", exit_gate_moment(run));
  add("touchdown", touchdown_moment(run));
  add("stop", sample_moment(run, run.stop));
  return phases;
}

}  // namespace tarvel

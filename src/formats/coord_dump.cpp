#include "formats/coord_dump.h"

#include <cstdint>
#include <cstdio>

#include "driver/file_handle.h"
#include "driver/units.h"

namespace tarvel {

namespace {

// Five digits of seconds: times since an epoch show as a counter that wraps, since only differences matter here.
void write_row(std::FILE *file, const gps_point &sample) {
  const auto time = static_cast<std::uint64_t>(sample.time);
  const vec3 &pos = sample.pos_local;
  const vec3 &vel = sample.vel_local;
  const vec3 &acc = sample.acc_local;
  std::fprintf(file, "%5d.%03d   ", static_cast<int>(time / 1000 % 100000), static_cast<int>(time % 1000));
  std::fprintf(file, "(%10.2f,%10.2f,%10.2f )   ", pos.x * feet_per_metre, pos.y * feet_per_metre,
               pos.z * feet_per_metre);
  std::fprintf(file, "(%8.2f,%8.2f,%8.2f )   ", vel.x * mph_per_mps, vel.y * mph_per_mps, vel.z * mph_per_mps);
  std::fprintf(file, "(%8.2f%8.2f%8.2f )", acc.x * mph_per_mps, acc.y * mph_per_mps, acc.z * mph_per_mps);
  std::fprintf(file, "%8.2f%5.0f%8.0f%10.2f\n", vec3_length(acc) / standard_gravity, sample.dive_angle, sample.heading,
               sample.turn_rate);
}

}  // namespace

void write_coord_dump(std::span<const gps_point> samples, error_slot *error) {
  constexpr const char *path = "coord.txt";
  *error = nullptr;
  file_handle file = open_output(path, error);
  if (!file) return;

  std::fputs("time  (posx,posy,posz)  (velx,vely,velz)  (accx,accy,accz)  gforce  dive_angle  heading  turn_rate\n",
             file.get());
  std::fputs("(sec) (ft) (ft) (ft) (mph) (mph) (mph) (mph/s) (mph/s) (mph/s)  () (deg) (deg) (deg/s)\n", file.get());
  for (const gps_point &sample : samples) write_row(file.get(), sample);
  close_output(std::move(file), path, error);
}

}  // namespace tarvel

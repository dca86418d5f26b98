#include "track/gps_point.h"

namespace tarvel {

namespace {

void print_vector(std::FILE *stream, const char *name, const vec3 &v) {
  std::fprintf(stream, "gps_point->%-10s = (%f, %f, %f)\n", name, v.x, v.y, v.z);
}

void print_number(std::FILE *stream, const char *name, double value) {
  std::fprintf(stream, "gps_point->%-10s = %f\n", name, value);
}

void print_count(std::FILE *stream, const char *name, int value) {
  std::fprintf(stream, "gps_point->%-10s = %d\n", name, value);
}

}  // namespace

void print_gps_point(std::FILE *stream, const gps_point &point) {
  std::fprintf(stream, "gps_point->%-10s = %lld\n", "time", static_cast<long long>(point.time));
  print_number(stream, "hacc", static_cast<double>(point.hacc));
  print_number(stream, "vacc", static_cast<double>(point.vacc));
  print_number(stream, "sacc", static_cast<double>(point.sacc));
  print_count(stream, "gpsfix", point.gpsfix);
  print_count(stream, "numsv", point.numsv);
  print_vector(stream, "pos_wgs84", point.pos_wgs84);
  print_vector(stream, "pos_ecef", point.pos_ecef);
  print_vector(stream, "pos_local", point.pos_local);
  print_vector(stream, "vel_ltp", point.vel_ltp);
  print_vector(stream, "vel_ecef", point.vel_ecef);
  print_vector(stream, "vel_local", point.vel_local);
  print_vector(stream, "acc_local", point.acc_local);
  print_number(stream, "dive_angle", point.dive_angle);
  print_number(stream, "heading", point.heading);
  print_number(stream, "turn_angle", point.turn_angle);
  print_number(stream, "turn_rate", point.turn_rate);
  std::fputc('\n', stream);
}

}  // namespace tarvel

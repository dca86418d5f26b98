#include "formats/coord_dump.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "formats/fixed_decimal.h"
#include "support/units.h"

namespace tarvel {

namespace {

// A line of the table. It has thirteen numbers; printing them with std::fprintf would take longer than the analysis.
struct table_row {
  std::array<char, 13 * longest_fixed_decimal + 200> text;
  char *end = text.data();

  void add(std::string_view words) { end = std::copy(words.begin(), words.end(), end); }

  // Like "%*.*f". A NaN is always printed as -nan, since its sign depends on the compiler's order of operands.
  void add(double value, std::ptrdiff_t width, int decimals) {
    if (std::isnan(value)) value = std::copysign(value, -1.0);
    char *const number_end = print_fixed(end, value, decimals);
    const std::ptrdiff_t missing = std::max(std::ptrdiff_t{0}, width - (number_end - end));
    std::copy_backward(end, number_end, number_end + missing);
    std::fill_n(end, missing, ' ');
    end = number_end + missing;
  }

  // The last five digits of the seconds since the epoch, and the milliseconds.
  void add_time(std::int64_t time) {
    const auto ms = static_cast<std::uint64_t>(time);
    end += std::snprintf(end, 20, "%5d.%03d", static_cast<int>(ms / 1000 % 100000), static_cast<int>(ms % 1000));
  }

  void add_vector(const vec3 &v, double factor, std::ptrdiff_t width, std::string_view separator) {
    add("   (");
    add(v.x * factor, width, 2);
    add(separator);
    add(v.y * factor, width, 2);
    add(separator);
    add(v.z * factor, width, 2);
    add(" )");
  }
};

void write_row(std::FILE *file, const gps_point &sample) {
  table_row row;
  row.add_time(sample.time);
  row.add_vector(sample.pos_local, feet_per_metre, 10, ",");
  row.add_vector(sample.vel_local, mph_per_mps, 8, ",");
  row.add_vector(sample.acc_local, mph_per_mps, 8, "");
  row.add(vec3_length(sample.acc_local) / standard_gravity, 8, 2);
  row.add(sample.dive_angle, 5, 0);
  row.add(sample.heading, 8, 0);
  row.add(sample.turn_rate, 10, 2);
  row.add("\n");
  std::fwrite(row.text.data(), 1, static_cast<std::size_t>(row.end - row.text.data()), file);
}

}  // namespace

void write_coord_dump(std::FILE *stream, std::span<const gps_point> samples) {
  std::fputs("time  (posx,posy,posz)  (velx,vely,velz)  (accx,accy,accz)  gforce  dive_angle  heading  turn_rate\n",
             stream);
  std::fputs("(sec) (ft) (ft) (ft) (mph) (mph) (mph) (mph/s) (mph/s) (mph/s)  () (deg) (deg) (deg/s)\n", stream);
  for (const gps_point &sample : samples) write_row(stream, sample);
}

}  // namespace tarvel

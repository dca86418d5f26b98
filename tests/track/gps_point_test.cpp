#include "track/gps_point.h"

#include <gtest/gtest.h>

#include <string>

#include "support/files.h"

namespace tarvel {
namespace {

std::string print_of(const gps_point &point) {
  const temp_dir dir;
  const file_handle stream(std::fopen("point.txt", "wb"));
  print_gps_point(stream.get(), point);
  std::fflush(stream.get());
  return read_text("point.txt");
}

TEST(gps_point_test, prints_every_field_on_a_line_of_its_own) {
  gps_point point;
  point.time = 1717237805250;
  point.pos_wgs84 = {50.5, -4.25, 1234.125};
  point.vel_ltp = {1.5, -2.5, 3.5};
  point.hacc = 0.1F;  // 0.10000000149 as a double: six decimals hide it
  point.vacc = 1234.5F;
  point.sacc = 16777216.0F;
  point.gpsfix = 3;
  point.numsv = 255;
  point.pos_ecef = {1.0, 2.0, 3.0};
  point.pos_local = {4.0, 5.0, 6.0};
  point.vel_ecef = {7.0, 8.0, 9.0};
  point.vel_local = {10.0, 11.0, 12.0};
  point.acc_local = {13.0, -0.0, 15.0};
  point.dive_angle = 16.0;
  point.heading = 17.0;
  point.turn_angle = 18.0;
  point.turn_rate = -19.0000006;
  EXPECT_EQ(print_of(point),
            "gps_point->time       = 1717237805250\n"
            "gps_point->hacc       = 0.100000\n"
            "gps_point->vacc       = 1234.500000\n"
            "gps_point->sacc       = 16777216.000000\n"
            "gps_point->gpsfix     = 3\n"
            "gps_point->numsv      = 255\n"
            "gps_point->pos_wgs84  = (50.500000, -4.250000, 1234.125000)\n"
            "gps_point->pos_ecef   = (1.000000, 2.000000, 3.000000)\n"
            "gps_point->pos_local  = (4.000000, 5.000000, 6.000000)\n"
            "gps_point->vel_ltp    = (1.500000, -2.500000, 3.500000)\n"
            "gps_point->vel_ecef   = (7.000000, 8.000000, 9.000000)\n"
            "gps_point->vel_local  = (10.000000, 11.000000, 12.000000)\n"
            "gps_point->acc_local  = (13.000000, -0.000000, 15.000000)\n"
            "gps_point->dive_angle = 16.000000\n"
            "gps_point->heading    = 17.000000\n"
            "gps_point->turn_angle = 18.000000\n"
            "gps_point->turn_rate  = -19.000001\n"
            "\n");
}

TEST(gps_point_test, prints_the_time_with_its_sign_and_all_its_digits) {
  gps_point point;
  point.time = INT64_MIN;
  EXPECT_TRUE(print_of(point).starts_with("gps_point->time       = -9223372036854775808\n"));
  point.time = INT64_MAX;
  EXPECT_TRUE(print_of(point).starts_with("gps_point->time       = 9223372036854775807\n"));
}

TEST(gps_point_test, begins_with_zeros) {
  const gps_point point;
  const std::string print = print_of(point);
  EXPECT_EQ(print.find_first_of("123456789"), print.find("84"));
  EXPECT_NE(print.find("gps_point->time       = 0\n"), std::string::npos);
}

}  // namespace
}  // namespace tarvel

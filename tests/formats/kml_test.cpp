#include "formats/kml.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

#include "support/failing_calls.h"
#include "support/files.h"

namespace tarvel {

namespace {

// The process's time zone until the end of the scope.
class time_zone {
 public:
  explicit time_zone(const char *rule) : previous_(std::getenv("TZ") != nullptr ? std::getenv("TZ") : "UTC") {
    set(rule);
  }
  ~time_zone() { set(previous_.c_str()); }
  time_zone(const time_zone &) = delete;
  time_zone &operator=(const time_zone &) = delete;

 private:
  static void set(const char *rule) {
    setenv("TZ", rule, 1);
    tzset();
  }

  std::string previous_;
};

gps_point sample_at(double latitude, double longitude, double height) {
  gps_point sample;
  sample.pos_wgs84 = {latitude, longitude, height};
  return sample;
}

// 2024-06-01 12:30:00 UTC: 19875 days since the epoch, 12 h and 30 min.
constexpr std::int64_t june_noon = (19875LL * 86400 + 45000) * 1000;

std::string kml_of(std::int64_t start_time, const std::vector<gps_point> &samples, const gate_ends *ends = nullptr) {
  return bytes_written_by([&](std::FILE *stream) { write_kml(stream, start_time, samples, ends); });
}

std::string name_at(std::int64_t time) {
  const std::string text = kml_of(time, {});
  const std::size_t begin = text.find("      <name>") + 12;
  return text.substr(begin, text.find("</name>\n") - begin);
}

std::size_t count_of(const std::string &text, const std::string &part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

const std::string head =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<kml xmlns=\"http://www.opengis.net/kml/2.2\">\n"
    "  <Document>\n"
    "    <Placemark>\n"
    "      <name>Jun01 12:30</name>\n"
    "      <Style>\n"
    "        <LineStyle> <color>7f0000ff</color> <width>1</width> </LineStyle>\n"
    "        <PolyStyle> <color>7f00ff00</color> </PolyStyle>\n"
    "      </Style>\n"
    "      <LineString>\n"
    "        <altitudeMode>absolute</altitudeMode>\n"
    "        <extrude>1</extrude>\n"
    "        <coordinates>\n";
const std::string end_of_line =
    "        </coordinates>\n"
    "      </LineString>\n"
    "    </Placemark>\n";
const std::string tail =
    "  </Document>\n"
    "</kml>\n";

TEST(kml_test, writes_longitude_first) {
  EXPECT_EQ(kml_of(june_noon, {sample_at(-33.8688, 151.2093, 5.0)}),
            head + "          151.2093000,-33.8688000,5.000\n" + end_of_line + tail);
}

TEST(kml_test, a_stretch_of_no_samples_has_a_name_and_no_coordinates) {
  EXPECT_EQ(kml_of(june_noon, {}), head + end_of_line + tail);
}

TEST(kml_test, writes_the_samples_in_their_order) {
  const std::vector<gps_point> samples = {sample_at(1.0, 2.0, 3.0), sample_at(-1.5, -179.99999995, -0.0005),
                                          sample_at(0.0, -0.0, 4000.1225)};
  // None of the three is a half in binary: 179.99999994999998..., 0.00050000000000000001..., 4000.1224999999999...
  EXPECT_EQ(kml_of(june_noon, samples), head +
                                            "          2.0000000,1.0000000,3.000\n"
                                            "          -179.9999999,-1.5000000,-0.001\n"
                                            "          -0.0000000,0.0000000,4000.122\n" +
                                            end_of_line + tail);
}

TEST(kml_test, draws_the_entry_gate_in_a_placemark_of_its_own) {
  const gate_ends ends = {vec3{28.5, -82.25, 21.5}, vec3{28.75, -82.125, 21.25}};
  const std::string text = kml_of(june_noon, {sample_at(28.0, -82.0, 20.0)}, &ends);
  EXPECT_EQ(text, head + "          -82.0000000,28.0000000,20.000\n" + end_of_line +
                      "    <Placemark>\n"
                      "      <name>entry gate</name>\n"
                      "      <LineString>\n"
                      "        <altitudeMode>absolute</altitudeMode>\n"
                      "        <extrude>1</extrude>\n"
                      "        <coordinates>\n"
                      "          -82.2500000,28.5000000,21.500\n"
                      "          -82.1250000,28.7500000,21.250\n"
                      "          -82.1250000,28.7500000,21.250\n" +
                      end_of_line + tail);
}

TEST(kml_test, has_one_placemark_without_a_gate) {
  EXPECT_EQ(count_of(kml_of(0, {sample_at(1.0, 2.0, 3.0)}), "<Placemark>"), 1U);
}

TEST(kml_test, reads_positions_alone) {
  gps_point sample = sample_at(1.0, 2.0, 3.0);
  sample.pos_local = {7.0, 8.0, 9.0};
  sample.time = june_noon + 3600000;  // the name is the start's
  EXPECT_EQ(kml_of(june_noon, {sample}), head + "          2.0000000,1.0000000,3.000\n" + end_of_line + tail);
}

struct name_case {
  const char *name;
  const char *zone;
  std::int64_t time;
  const char *expected;
};

// 2024-03-10 07:00:00 UTC: 19792 days since the epoch and 7 h, when New York's clocks go from 2:00 to 3:00.
constexpr std::int64_t clocks_forward = (19792LL * 86400 + 25200) * 1000;

const name_case name_cases[] = {
    {"noon in UTC", "UTC", june_noon, "Jun01 12:30"},
    {"summer time", "EST5EDT,M3.2.0,M11.1.0", june_noon, "Jun01 08:30"},
    {"half an hour off", "IST-5:30", june_noon, "Jun01 18:00"},
    {"the next day", "<+14>-14", june_noon, "Jun02 02:30"},
    {"the day before", "<-12>12", june_noon - 3600000, "May31 23:30"},
    {"just before the clocks go forward", "EST5EDT,M3.2.0,M11.1.0", clocks_forward - 1, "Mar10 01:59"},
    {"just as the clocks go forward", "EST5EDT,M3.2.0,M11.1.0", clocks_forward, "Mar10 03:00"},
    {"the last millisecond of a minute", "UTC", june_noon + 59999, "Jun01 12:30"},
    {"the first of the next", "UTC", june_noon + 60000, "Jun01 12:31"},
    {"leap day", "UTC", 19782LL * 86400 * 1000, "Feb29 00:00"},
    {"the epoch", "UTC", 0, "Jan01 00:00"},
    {"a second less a millisecond before it", "UTC", -999, "Jan01 00:00"},  // divided towards zero
    {"a second before it", "UTC", -1000, "Dec31 23:59"},
    {"a minute and a little before it", "UTC", -60999, "Dec31 23:59"},
    {"more than a minute before it", "UTC", -61000, "Dec31 23:58"},
    // Known from other calendars that count 64-bit milliseconds: 292278994-08-17 07:12:55, -292275055-05-16 16:47:04.
    {"the last time", "UTC", std::numeric_limits<std::int64_t>::max(), "Aug17 07:12"},
    {"the first time", "UTC", std::numeric_limits<std::int64_t>::min(), "May16 16:47"},
};

TEST(kml_test, is_named_after_the_local_clock_time) {
  for (const name_case &c : name_cases) {
    SCOPED_TRACE(c.name);
    const time_zone zone(c.zone);
    EXPECT_EQ(name_at(c.time), c.expected);
  }
}

TEST(kml_test, has_no_name_when_the_calendar_has_none) {
  {
    const failing_call calendar(c_call::localtime_r, 0, EOVERFLOW);
    EXPECT_EQ(name_at(june_noon), "");
  }
  const failing_call words(c_call::strftime, 0, ERANGE);
  EXPECT_EQ(name_at(june_noon), "");
}

TEST(kml_test, leaves_the_error_of_a_full_disk_in_the_stream) {
  for (const std::size_t count : {0U, 10000U}) {
    const file_handle full(std::fopen("/dev/full", "wb"));
    write_kml(full.get(), 0, std::vector<gps_point>(count), nullptr);
    EXPECT_NE(std::fflush(full.get()), 0);
    EXPECT_NE(std::ferror(full.get()), 0);
  }
}

}  // namespace

}  // namespace tarvel

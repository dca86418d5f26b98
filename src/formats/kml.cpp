#include "formats/kml.h"

#include <cstdio>
#include <cstring>
#include <ctime>

#include "formats/fixed_decimal.h"

namespace tarvel {

namespace {

// "Jun01 12:30", local time.
struct document_name {
  char text[32] = {};
};

document_name document_name_at(std::int64_t time) {
  document_name name;
  const std::time_t seconds = time / 1000;
  std::tm local = {};
  if (localtime_r(&seconds, &local) != nullptr) {
    if (std::strftime(name.text, sizeof name.text, "%b%d %H:%M", &local) == 0) name.text[0] = '\0';
  }
  return name;
}

// "          %.7f,%.7f,%.3f\n" with longitude, latitude, height: KML puts the longitude first.
void write_coordinates(std::FILE *file, const vec3 &wgs84) {
  char line[10 + 3 * (longest_fixed_decimal + 1)];
  std::memset(line, ' ', 10);
  char *position = print_fixed(line + 10, wgs84.y, 7);
  *position++ = ',';
  position = print_fixed(position, wgs84.x, 7);
  *position++ = ',';
  position = print_fixed(position, wgs84.z, 3);
  *position++ = '\n';
  fwrite_unlocked(line, 1, static_cast<std::size_t>(position - line), file);
}

void open_line_string(std::FILE *file) {
  std::fputs(
      "      <LineString>\n"
      "        <altitudeMode>absolute</altitudeMode>\n"
      "        <extrude>1</extrude>\n"
      "        <coordinates>\n",
      file);
}

void close_line_string(std::FILE *file) {
  std::fputs(
      "        </coordinates>\n"
      "      </LineString>\n"
      "    </Placemark>\n",
      file);
}

// Colours are aabbggrr: a half-transparent red line over a half-transparent green wall.
void write_track(std::FILE *file, std::int64_t start_time, std::span<const gps_point> samples) {
  const document_name name = document_name_at(start_time);
  std::fprintf(file,
               "    <Placemark>\n"
               "      <name>%s</name>\n"
               "      <Style>\n"
               "        <LineStyle> <color>7f0000ff</color> <width>1</width> </LineStyle>\n"
               "        <PolyStyle> <color>7f00ff00</color> </PolyStyle>\n"
               "      </Style>\n",
               name.text);
  open_line_string(file);
  for (const gps_point &sample : samples) write_coordinates(file, sample.pos_wgs84);
  close_line_string(file);
}

void write_entry_gate(std::FILE *file, const gate_ends &ends) {
  std::fputs(
      "    <Placemark>\n"
      "      <name>entry gate</name>\n",
      file);
  open_line_string(file);
  write_coordinates(file, ends[0]);
  write_coordinates(file, ends[1]);
  write_coordinates(file, ends[1]);  // a second time
  close_line_string(file);
}

}  // namespace

void write_kml(std::FILE *stream, std::int64_t start_time, std::span<const gps_point> samples, const gate_ends *ends) {
  std::fputs(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<kml xmlns=\"http://www.opengis.net/kml/2.2\">\n"
      "  <Document>\n",
      stream);
  write_track(stream, start_time, samples);
  if (ends != nullptr) write_entry_gate(stream, *ends);
  std::fputs(
      "  </Document>\n"
      "</kml>\n",
      stream);
}

}  // namespace tarvel

// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <utility>

#include "features/feature_table.h"

namespace kxcam::gentl {

namespace {

constexpr const char* kImageFormatControl = "ImageFormatControl";

/// The least region: some step of every model that a frame of a few lines still passes through.
constexpr int kLeast = 16;

/// One side of the region, in the direction of x or y.
struct Side {
  int Region::*start;
  int Region::*length;
  int step;
};

Feature part_of_region(Camera& camera, const char* name, const char* tooltip, int Region::*member) {
  return {.name = name,
          .kind = Feature::Kind::kInteger,
          .category = kImageFormatControl,
          .tooltip = tooltip,
          .unit = "px",
          .locked_by_stream = true,
          .get = [&camera, member] { return Value(int64_t{camera.region().*member}); },
          .set =
              [&camera, member](const Value& value) {
                Region region = camera.region();
                region.*member = static_cast<int>(integer_of(value));
                camera.select_region(region);
              }};
}

void add_side(FeatureTable& table, const Side& side, const char* length_name, const char* start_name) {
  Camera& camera = table.camera();
  Feature length = part_of_region(camera, length_name, "Of the region that is read out", side.length);
  length.range = [&camera, side] {
    const int least = std::max(kLeast, side.step);
    return Range{double(least), double(camera.largest_region().*side.length - camera.region().*side.start),
                 double(side.step)};
  };
  table.add(std::move(length));
  Feature start =
      part_of_region(camera, start_name, "First pixel of the region that is read out", side.start);
  start.range = [&camera, side] {
    return Range{0, double(camera.largest_region().*side.length - camera.region().*side.length),
                 double(side.step)};
  };
  table.add(std::move(start));
}

void add_mirror(FeatureTable& table, const char* control, const char* name) {
  Camera& camera = table.camera();
  table.add_control(
      control, {.name = name,
                .kind = Feature::Kind::kSwitch,
                .category = kImageFormatControl,
                .tooltip = "",
                .locked_by_stream = true,
                .set = [&camera, control](
                           const Value& value) { camera.select_mirror(control, integer_of(value) != 0); },
                .available = [&camera] { return !camera.format().is_raw(); }});
}

}  // namespace

void add_image_format_control(FeatureTable& table) {
  Camera& camera = table.camera();
  const kxcam_description& is = camera.description();
  const Region largest = camera.largest_region();
  table.add(fixed_number("SensorWidth", kImageFormatControl, "Pixels of the sensor", is.sensor_width, "px"));
  table.add(
      fixed_number("SensorHeight", kImageFormatControl, "Pixels of the sensor", is.sensor_height, "px"));
  table.add(fixed_number("WidthMax", kImageFormatControl, "The widest region", largest.width, "px"));
  table.add(fixed_number("HeightMax", kImageFormatControl, "The highest region", largest.height, "px"));
  add_side(table, {&Region::x, &Region::width, is.region_step_x}, "Width", "OffsetX");
  add_side(table, {&Region::y, &Region::height, is.region_step_y}, "Height", "OffsetY");

  std::vector<Choice> formats;
  for (const PixelFormat& each : camera.formats()) formats.push_back({each.name, each.code});
  table.add({.name = "PixelFormat",
             .kind = Feature::Kind::kChoice,
             .category = kImageFormatControl,
             .tooltip = "What a picture consists of: developed pictures, or the raw samples of the sensor",
             .choices = std::move(formats),
             .locked_by_stream = true,
             .get = [&camera] { return Value(int64_t{camera.format().code}); },
             .set = [&camera](const Value& value) { camera.select_format(integer_of(value)); }});
  add_mirror(table, "mirror-x", "ReverseX");
  add_mirror(table, "mirror-y", "ReverseY");
  table.add({.name = "PayloadSize",
             .kind = Feature::Kind::kInteger,
             .category = "TransportLayerControl",
             .tooltip = "Bytes of a picture",
             .visibility = Feature::Visibility::kExpert,
             .unit = "B",
             .get = [&camera] { return Value(static_cast<int64_t>(camera.payload_size())); }});
}

}  // namespace kxcam::gentl

// SPDX-License-Identifier: Apache-2.0
#include "station.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include <kxcam/extra.h>

#include "controls.h"
#include "error.h"
#include "settings_file.h"
#include "stored_settings.h"
#include "stream_statistics.h"

namespace kxcam::view {
namespace {

using nlohmann::json;

json control_json(const Control& control) {
  json entry = {{"name", control.name},       {"unit", control.unit},
                {"group", control.group},     {"description", sentence_case(control.description)},
                {"minimum", control.minimum}, {"maximum", control.maximum},
                {"step", control.step},       {"whole", control.whole()}};
  if (control.choices != nullptr) entry["choices"] = words_of(control);
  if (!control.is_view()) entry["neutral"] = control.neutral;
  return entry;
}

json rectangle_json(const Rectangle& rectangle) {
  return {{"x", rectangle.x}, {"y", rectangle.y}, {"width", rectangle.width}, {"height", rectangle.height}};
}

const char* name_of(Grabber::State state) {
  switch (state) {
    case Grabber::State::kStreaming:
      return "streaming";
    case Grabber::State::kWaiting:
      return "waiting";
    case Grabber::State::kSilent:
      return "silent";
    case Grabber::State::kGone:
      break;
  }
  return "gone";
}

json presets_of(const ViewedCamera& camera) {
  int count = 0;
  CameraGetResolutionCount(camera.index(), &count);
  json presets = json::array();
  for (int preset = 0; preset < std::clamp(count, 0, 255); ++preset) {
    int width = 0;
    int height = 0;
    if (CameraGetResolution(camera.index(), preset, &width, &height) == 0)
      presets.push_back({{"width", width}, {"height", height}});
  }
  return presets;
}

/// A place and a size along one axis as multiples of `step`, counted from the beginning or from the end.
std::pair<int, int> aligned(int place, int size, int full, int step, bool from_end) {
  if (from_end) place = full - place - size;
  const int first = std::clamp(place, 0, std::max(full - 1, 0)) / step * step;
  const int most = (full - first) / step * step;
  const int last = std::min((place + size + step - 1) / step * step, first + most);
  size = std::max(last - first, step);
  return {from_end ? full - first - size : first, size};
}

}  // namespace

Station::Station(const AttachedCamera& attached, const std::filesystem::path& directory)
    : camera_(attached),
      recorder_(directory, camera_.identity().serial),
      grabber_(camera_, recorder_),
      region_(full_picture()) {}

Station::Orientation Station::orientation() const {
  const auto is_on = [&](const char* name) { return find_control(name).get(camera_.index()) == 1.0; };
  return {is_on("mirror-x"), is_on("mirror-y"), is_on("rotate-90")};
}

Rectangle Station::full_picture() const {
  const kxcam_description description = camera_.description();
  Rectangle full = {0, 0, description.sensor_width, description.sensor_height};
  if (find_control("rotate-90").get(camera_.index()) == 1.0) std::swap(full.width, full.height);
  return full;
}

/// Makes a change, after which the region may lie elsewhere in the picture, though not on the sensor.
template <class Change>
auto Station::change(Change change) {
  const std::lock_guard lock(mutex_);
  const Orientation before = orientation();
  const Rectangle full = full_picture();
  struct After {
    Station& station;
    Orientation before;
    Rectangle full;
    ~After() {
      station.follow(before, full);
      ++station.changes_;
    }
  } const after{*this, before, full};
  return change();
}

void Station::follow(const Orientation& before, Rectangle full) {
  const Orientation now = orientation();
  if (now == before) return;
  // The picture is mirrored first and rotated clockwise then.
  if (before.rotated) {
    region_ = {region_.y, full.width - region_.x - region_.width, region_.height, region_.width};
    std::swap(full.width, full.height);
  }
  if (before.mirror_x != now.mirror_x) region_.x = full.width - region_.x - region_.width;
  if (before.mirror_y != now.mirror_y) region_.y = full.height - region_.y - region_.height;
  if (now.rotated)
    region_ = {full.height - region_.y - region_.height, region_.x, region_.height, region_.width};
}

json Station::description() const {
  const kxcam_description about = camera_.description();
  const AttachedCamera& identity = camera_.identity();
  json controls = json::array();
  for (const Control& control : control_table()) controls.push_back(control_json(control));
  return {{"name", identity.name},
          {"serial", identity.serial},
          {"model", about.model},
          {"product", fmt::format("{:04x}", identity.product_id)},
          {"port", about.port},
          {"megabits", about.usb_speed},
          {"bits", about.bits},
          {"colour", about.bayer != KXCAM_BAYER_NONE},
          {"trigger", (about.features & KXCAM_FEATURE_TRIGGER) != 0},
          {"sensor", {{"width", about.sensor_width}, {"height", about.sensor_height}}},
          {"presets", presets_of(camera_)},
          {"controls", std::move(controls)}};
}

json Station::settings() const {
  json values = json::object();
  for (const Control& control : control_table()) {
    if (const auto value = control.get(camera_.index())) values[control.name] = *value;
  }
  const std::lock_guard lock(mutex_);
  return {{"values", std::move(values)},
          {"region", rectangle_json(region_)},
          {"full", rectangle_json(full_picture())},
          {"in_preset", in_preset_},
          {"changes", changes_.load()}};
}

json Station::status() const {
  const Grabber::Report report = grabber_.report();
  const Recorder::Progress recording = recorder_.progress();
  const kxcam_statistics counters = camera_.statistics();
  json losses = json::array();
  for (const LossCause& cause : loss_causes())
    losses.push_back({{"cause", cause.words}, {"frames", counters.*cause.counter}});
  return {{"state", name_of(report.state)},
          {"returns", report.returns},
          {"changes", changes_.load()},
          {"fps", report.frames_per_second},
          {"megabytes", report.megabytes_per_second},
          {"frames", counters.ended},
          {"losses", std::move(losses)},
          {"full_seconds", static_cast<double>(counters.ring_full_ns) / 1e9},
          {"resets", counters.resets},
          {"recording",
           {{"on", recording.on},
            {"folder", recording.folder},
            {"type", recording.type},
            {"frames", recording.frames},
            {"lost", recording.lost},
            {"end", recording.end},
            {"free", recording.free_bytes}}}};
}

void Station::set_control(const std::string& name, double value) {
  const Control& control = find_control(name);
  const bool fits = value >= control.minimum && value <= control.maximum;
  if (!fits || (control.whole() && value != static_cast<double>(static_cast<int64_t>(value))))
    throw Refusal(fmt::format("{}: {} is not in {}", name, value, range_text(control)));
  change([&] { write_control(camera_, control, value); });
}

bool Station::try_region(const Rectangle& region) {
  const int code = kxcam_set_region(camera_.index(), region.x, region.y, region.width, region.height);
  if (code == 0) {
    region_ = region;
    in_preset_ = false;
  }
  if (code != 0 && code != KXCAM_ERROR_ARGUMENT)
    throw Refusal(fmt::format("the region could not be set: {}", kxcam_error_text(code)));
  return code == 0;
}

void Station::set_region(const Rectangle& wanted) {
  change([&] {
    const kxcam_description about = camera_.description();
    const Rectangle full = full_picture();
    const auto seen = within(wanted, full.width, full.height);
    if (!seen) throw Refusal("the region lies outside the picture");
    int step_x = std::max(about.region_step_x, 1);
    int step_y = std::max(about.region_step_y, 1);
    if (orientation().rotated) std::swap(step_x, step_y);
    // In a mirrored direction the steps count from the other side.
    for (const auto& [right, bottom] :
         {std::pair(false, false), {true, false}, {false, true}, {true, true}}) {
      const auto [x, width] = aligned(seen->x, seen->width, full.width, step_x, right);
      const auto [y, height] = aligned(seen->y, seen->height, full.height, step_y, bottom);
      if (try_region({x, y, width, height})) return;
    }
    throw Refusal(fmt::format("the camera does not take the region {} x {}", seen->width, seen->height));
  });
}

void Station::select_preset(int preset) {
  change([&] {
    int width = 0;
    int height = 0;
    camera_.require("setting the resolution", CameraSetResolution(camera_.index(), preset, &width, &height));
    const Rectangle full = full_picture();
    region_ = {0, 0, width, height};
    in_preset_ = region_ != full;
  });
}

void Station::measure_white_balance() {
  change([&] { camera_.require("measuring the white balance", CameraOnePushWB(camera_.index())); });
}

void Station::trigger() {
  camera_.require("triggering", CameraTriggerShot(camera_.index()));
}

void Station::store() {
  change([&] { store_settings(camera_, kSlotLoadedAtOpen); });
}

std::string Station::settings_text() const {
  return kxcam::settings_text(camera_);
}

std::vector<std::string> Station::load_settings(const std::string& text) {
  const auto settings = parse_settings(text, "settings");
  return change([&] {
    const auto missing = write_settings(camera_, settings);
    return std::vector<std::string>(missing.begin(), missing.end());
  });
}

}  // namespace kxcam::view

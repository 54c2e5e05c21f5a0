// SPDX-License-Identifier: Apache-2.0
#include "camera.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "failure.h"

namespace kxcam {
namespace {

constexpr const char* kTrigger = "trigger";

bool is_view(const kxcam_control& control) {
  return (control.flags & KXCAM_CONTROL_VIEW) != 0;
}

Failure open_failure(const std::string& serial, int cause) {
  if (cause == KXCAM_ERROR_NO_DEVICE && !serial.empty()) {
    return {GST_RESOURCE_ERROR_NOT_FOUND,
            "There is no camera " + serial +
                ". Check cable and power; `kxcam list` shows the cameras that are "
                "there."};
  }
  return failure_of(serial.empty() ? "opening a camera" : "opening camera " + serial, cause);
}

bool open(const std::string& serial, int& index, int& cause) {
  cause = kxcam_open(serial.c_str(), &index);
  return cause == 0;
}

/// The first one on the bus that nobody has open.
int open_any() {
  int count = 0;
  int index = -1;
  int cause = 0;
  CameraGetCount(&count);
  for (int position = 0; position < count; ++position) {
    std::array<char, 17> serial{};
    if (CameraGetName(position, serial.data(), nullptr) != 0) continue;
    if (open(serial.data(), index, cause)) return index;
    if (cause != KXCAM_ERROR_IN_USE && cause != KXCAM_ERROR_HELD) throw open_failure(serial.data(), cause);
  }
  // Where there is none, the attempt to open one tells why.
  if (cause == 0 && open("", index, cause)) return index;
  throw open_failure("", cause);
}

int open(const std::string& serial) {
  int index = -1;
  int cause = 0;
  if (serial.empty()) return open_any();
  if (!open(serial, index, cause)) throw open_failure(serial, cause);
  return index;
}

}  // namespace

Region Region::parse(const std::string& text) {
  std::array<int, 4> numbers{};
  const char* next = text.data();
  const char* const end = next + text.size();
  for (size_t i = 0; i < numbers.size(); ++i) {
    const auto [after, error] = std::from_chars(next, end, numbers[i]);
    const bool last = i + 1 == numbers.size();
    if (error != std::errc() || (last ? after != end : after == end || *after != ','))
      throw Failure(GST_RESOURCE_ERROR_SETTINGS, "roi is X,Y,WIDTH,HEIGHT, and not '" + text + "'.");
    next = after + (last ? 0 : 1);
  }
  return {.x = numbers[0], .y = numbers[1], .width = numbers[2], .height = numbers[3]};
}

Camera::Camera(const std::string& serial) : index_(open(serial)) {
  kxcam_describe(index_, &description_, sizeof description_);
  try {
    read_presets();
  } catch (...) {
    CameraFree(index_);
    throw;
  }
}

Camera::~Camera() {
  CameraFree(index_);
}

std::string Camera::serial() const {
  std::string serial = description_.serial;
  serial.erase(serial.find_last_not_of(' ') + 1);
  return serial;
}

std::string Camera::name() const {
  return "camera " + serial();
}

void Camera::require(const std::string& action, bool done) const {
  if (!done) throw failure_of(name() + ": " + action, kxcam_thread_error());
}

void Camera::read_presets() {
  int count = 0;
  require("reading the resolutions", CameraGetResolutionCount(index_, &count) == 0);
  for (int i = 0; i < count; ++i) {
    Size size{};
    require("reading the resolutions", CameraGetResolution(index_, i, &size.width, &size.height) == 0);
    presets_.push_back(turned() ? size.turned() : size);
  }
}

std::optional<double> Camera::get(const kxcam_control& control) const {
  double value = 0;
  if (kxcam_get(index_, control.name, &value) != 0) return std::nullopt;
  return value;
}

void Camera::set(const kxcam_control& control, double value) const {
  // Some setters succeed without effect on cameras that have no such thing.
  const int cause = get(control) ? kxcam_set(index_, control.name, value) : int{KXCAM_ERROR_NOT_SUPPORTED};
  if (cause == 0) return;
  const Failure why = failure_of(name() + ": setting " + control.name, cause);
  throw Failure(GST_RESOURCE_ERROR_SETTINGS, why.what());
}

std::vector<std::string> Camera::set_all(const ControlValues& values) const {
  std::vector<std::string> missing;
  const size_t trigger = *find_control(kTrigger);
  // Some settings can only be changed while the camera is not triggered.
  const bool was_triggered = get(controls()[trigger]) == 1.0;
  bool changed = false;
  for (size_t i = 0; i < values.size(); ++i) {
    const kxcam_control& control = controls()[i];
    if (!values[i] || is_view(control)) continue;
    const auto now = get(control);
    // What need not change is not sent: some cameras refuse even to be told that they are not triggered.
    if (now == values[i]) continue;
    if (!now) {
      missing.emplace_back(control.name);
      continue;
    }
    if (was_triggered && !changed && i != trigger) set(controls()[trigger], 0);
    changed = true;
    set(control, *values[i]);
  }
  if (was_triggered && values[trigger].value_or(1) == 1 && get(controls()[trigger]) == 0.0)
    set(controls()[trigger], 1);
  return missing;
}

void Camera::set_views(const ControlValues& values) const {
  for (size_t i = 0; i < values.size(); ++i) {
    if (values[i] && is_view(controls()[i])) set(controls()[i], *values[i]);
  }
}

bool Camera::turned() const {
  double on = 0;
  return kxcam_get(index_, "rotate-90", &on) == 0 && on != 0;
}

Size Camera::raw_size() const {
  Size size{};
  CameraGetImageSize(index_, &size.width, &size.height);
  return turned() ? size.turned() : size;
}

void Camera::select_preset(int number) {
  if (preset_ == number) return;
  if (number < 0 || static_cast<size_t>(number) >= presets_.size()) {
    throw Failure(GST_RESOURCE_ERROR_SETTINGS, name() + " has the resolutions 0 to " +
                                                   std::to_string(presets_.size() - 1) + ", and no " +
                                                   std::to_string(number) + ".");
  }
  require("selecting the resolution", CameraSetResolution(index_, number, nullptr, nullptr) == 0);
  preset_ = number;
}

void Camera::select_region(const Region& region) {
  const int cause = kxcam_set_region(index_, region.x, region.y, region.width, region.height);
  if (cause == KXCAM_ERROR_ARGUMENT) {
    const auto& [x, y, width, height] = region;
    throw Failure(GST_RESOURCE_ERROR_SETTINGS,
                  name() + ": no region of " + std::to_string(width) + " x " + std::to_string(height) +
                      " at " + std::to_string(x) + "," + std::to_string(y) +
                      ". It must lie inside the sensor of " + std::to_string(description_.sensor_width) +
                      " x " + std::to_string(description_.sensor_height) + ", in steps of " +
                      std::to_string(description_.region_step_x) + " columns and " +
                      std::to_string(description_.region_step_y) + " rows.");
  }
  require("selecting the region", cause == 0);
  preset_.reset();
}

FrameRate Camera::rate() const {
  double triggered = 0;
  bool fixed = false;
  double fps = 0;
  kxcam_get(index_, kTrigger, &triggered);
  if (triggered != 0 || CameraGetFrameRate(index_, &fixed, &fps) != 0 || !fixed) return {};
  return {.numerator = static_cast<int>(std::lround(fps * 10)), .denominator = 10};
}

void Camera::fix_rate(FrameRate rate) const {
  const FrameRate now = this->rate();
  if (int64_t{rate.numerator} * now.denominator == int64_t{now.numerator} * rate.denominator) return;
  require("fixing the frame rate",
          CameraSetFrameRate(index_, true, static_cast<double>(rate.numerator) / rate.denominator) == 0);
}

int Camera::query(void* picture, const PictureLayout& layout, int timeout_ms, kxcam_frame& frame) const {
  return kxcam_query(index_, picture, layout.bytes(), layout.format->word, timeout_ms, 0, &frame,
                     sizeof frame);
}

kxcam_statistics Camera::statistics() const {
  kxcam_statistics statistics{};
  kxcam_get_statistics(index_, &statistics, sizeof statistics);
  return statistics;
}

bool Camera::reconnect() const {
  return CameraReconnect(index_) == 0;
}

bool Camera::trigger() const {
  return CameraTriggerShot(index_) == 0;
}

bool Camera::measure_white_balance() const {
  return CameraOnePushWB(index_) == 0;
}

}  // namespace kxcam

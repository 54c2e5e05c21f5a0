// SPDX-License-Identifier: Apache-2.0
#include "camera.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace kxcam::gentl {

namespace {

constexpr const char* kRotation = "rotate-90";
constexpr int kRingFrames = 5;

int down_to(int value, int step) {
  return value - value % std::max(step, 1);
}

bool control_at(int number, kxcam_control& control) {
  return kxcam_get_control(number, &control, sizeof control) == 0;
}

}  // namespace

/// Keeps the stream's thread from querying. Setters that drop frames wait for the end of every query, and
/// what a picture depends on must not change under one.
class Camera::Pause {
 public:
  explicit Pause(Camera& camera) : camera_(camera) {
    std::unique_lock lock(camera.mutex_);
    ++camera.paused_;
    kxcam_interrupt(camera.index_, true);
    camera.changed_.wait(lock, [&] { return !camera.querying_; });
  }
  ~Pause() {
    const std::lock_guard lock(camera_.mutex_);
    if (--camera_.paused_ == 0) kxcam_interrupt(camera_.index_, false);
    camera_.changed_.notify_all();
  }
  Pause(const Pause&) = delete;
  Pause& operator=(const Pause&) = delete;

 private:
  Camera& camera_;
};

Camera::Camera(const std::string& serial) {
  check(kxcam_open(serial.c_str(), &index_), "opening the camera");
  try {
    check(kxcam_describe(index_, &description_, sizeof description_), "describing the camera");
    const std::string_view number = description_.serial;
    description_.serial[number.find_last_not_of(' ') + 1] = '\0';
    formats_ = pixel_formats_of(description_);
    turn_back();
    region_ = largest_region();
    // The library opens cameras with the whole sensor.
    const bool is_whole =
        region_.width == description_.sensor_width && region_.height == description_.sensor_height;
    if (!is_whole) read_out(region_);
  } catch (...) {
    CameraFree(index_);
    throw;
  }
}

Camera::~Camera() {
  close();
}

void Camera::close() {
  if (!std::exchange(closed_, true)) CameraFree(index_);
}

/// There is no standard feature for a rotation, and raw frames have none.
void Camera::turn_back() {
  if (offers(kRotation) && get(kRotation) != 0)
    check(kxcam_set(index_, kRotation, 0), "turning the picture back");
}

kxcam_statistics Camera::statistics() const {
  kxcam_statistics now{};
  check(kxcam_get_statistics(index_, &now, sizeof now), "counting frames");
  return now;
}

bool Camera::offers(std::string_view control) const {
  kxcam_control each{};
  for (int n = 0; control_at(n, each); ++n) {
    if (control == each.name) return (description_.controls >> n & 1) != 0;
  }
  return false;
}

bool Camera::takes(const char* control) {
  const double present = get(control);
  return change_quietly([&] { return kxcam_set(index_, control, present); }) != KXCAM_ERROR_NOT_SUPPORTED;
}

double Camera::get(const char* control) const {
  double value = 0;
  check(kxcam_get(index_, control, &value), std::string("reading ") + control);
  return value;
}

bool Camera::can_set(std::string_view control) const {
  constexpr std::array<std::string_view, 4> kOfTheFirstCamera = {"trigger-delay", "debouncer", "strobe-delay",
                                                                 "strobe-duration"};
  return index_ == 0 || std::ranges::find(kOfTheFirstCamera, control) == kOfTheFirstCamera.end();
}

int Camera::change_quietly(const std::function<int()>& call) {
  require_present();
  const Pause pause(*this);
  return call();
}

void Camera::change(const std::function<int()>& call, const std::string& what) {
  check(change_quietly(call), what);
}

void Camera::set(const char* control, double value) {
  change([&] { return kxcam_set(index_, control, value); }, std::string("setting ") + control);
  // Some models ignore that nobody answers.
  require_present();
}

void Camera::set_neutral() {
  kxcam_control each{};
  for (int n = 0; control_at(n, each); ++n) {
    const bool is_view = (each.flags & KXCAM_CONTROL_VIEW) != 0;
    if (!offers(each.name) || is_view || !can_set(each.name)) continue;
    const int cause = change_quietly([&] { return kxcam_set(index_, each.name, each.neutral); });
    if (cause != KXCAM_ERROR_NOT_SUPPORTED) check(cause, std::string("resetting ") + each.name);
  }
  turn_back();
  select_region(region());
}

void Camera::load_set(int slot) {
  const auto load = [&] { return CameraLoadParameter(index_, slot) == 0 ? 0 : kxcam_thread_error(); };
  const int cause = change_quietly(load);
  // All settings that can be are loaded then, too. A set does not select its region, but may turn and mirror
  // the one in force.
  turn_back();
  select_region(region());
  check(cause, "loading a user set");
}

void Camera::save_set(int slot) {
  change([&] { return CameraSaveParameter(index_, slot) == 0 ? 0 : kxcam_thread_error(); },
         "saving a user set");
  require_present();
}

Region Camera::region() const {
  const std::lock_guard lock(mutex_);
  return region_;
}

Region Camera::largest_region() const {
  return {.width = down_to(description_.sensor_width, description_.region_step_x),
          .height = down_to(description_.sensor_height, description_.region_step_y)};
}

/// Windows lie on a grid from the sensor's first column on. In a mirrored picture that column is the last
/// one, so what the grid leaves over lies before the region; a raw frame is not mirrored, but the library
/// counts its region as if it were.
void Camera::read_out(const Region& region) {
  const int width = description_.sensor_width;
  const int height = description_.sensor_height;
  const Region largest = largest_region();
  const auto start_of = [&](const char* mirror, int start, int length, int sensor, int most) {
    if (!is_mirrored(mirror)) return start;
    return is_raw() ? sensor - length - start : sensor - most + start;
  };
  const bool whole_sensor = region.width == width && region.height == height;
  const int cause =
      whole_sensor
          ? (CameraSetResolution(index_, 0, nullptr, nullptr) == 0 ? 0 : kxcam_thread_error())
          : kxcam_set_region(index_, start_of("mirror-x", region.x, region.width, width, largest.width),
                             start_of("mirror-y", region.y, region.height, height, largest.height),
                             region.width, region.height);
  check(cause, "selecting the region");
}

void Camera::select_region(const Region& region) {
  require_present();
  const Pause pause(*this);
  read_out(region);
  const std::lock_guard lock(mutex_);
  region_ = region;
}

void Camera::select_mirror(const char* control, bool on) {
  set(control, on ? 1 : 0);
  select_region(region());
}

PixelFormat Camera::format() const {
  const std::lock_guard lock(mutex_);
  return formats_[format_];
}

void Camera::select_format(int64_t code) {
  const auto found =
      std::ranges::find(formats_, code, [](const PixelFormat& each) { return int64_t{each.code}; });
  if (found == formats_.end()) fail(kInvalidValue, "no such pixel format");
  const bool was_raw = is_raw();
  {
    const Pause pause(*this);
    const std::lock_guard lock(mutex_);
    format_ = static_cast<size_t>(found - formats_.begin());
  }
  const bool mirrored = is_mirrored("mirror-x") || is_mirrored("mirror-y");
  if (mirrored && found->is_raw() != was_raw) select_region(region());
}

size_t Camera::payload_size() const {
  int size = 0;
  if (CameraGetImageBufferSize(index_, &size, format().format) != 0)
    fail_of_library(kxcam_thread_error(), "asking for the size of a picture");
  return static_cast<size_t>(size);
}

void Camera::start(uint64_t pictures) {
  require_present();
  stop();
  // What waits was taken before. The stream does not query while nothing is started.
  for (int n = 0; n < kRingFrames && drop_oldest(0); ++n) {
  }
  // One is on its way, and the camera may hold another: of the readout of before, and as large as those to
  // come.
  constexpr int kOnTheirWay = 2;
  constexpr int kLongestMs = 100;
  const bool triggered = offers("trigger") && get("trigger") != 0;
  for (int n = 0; n < kOnTheirWay && !triggered; ++n) drop_oldest(kLongestMs);
  const std::lock_guard lock(mutex_);
  started_ = true;
  counted_ = pictures > 0;
  left_ = pictures;
  changed_.notify_all();
}

void Camera::stop() {
  const Pause pause(*this);
  const std::lock_guard lock(mutex_);
  started_ = false;
}

bool Camera::started() const {
  const std::lock_guard lock(mutex_);
  return started_;
}

void Camera::begin_query() {
  querying_ = true;
}

void Camera::end_query(bool delivered) {
  querying_ = false;
  if (delivered && counted_ && --left_ == 0) started_ = false;
  changed_.notify_all();
}

Camera::Outcome Camera::query(Buffer& buffer, Picture& picture) {
  const size_t size = payload_size();
  const PixelFormat pixels = format();
  const Region part = region();
  const bool fits = size <= buffer.size();
  if (!fits) spare_.resize(size);
  kxcam_frame frame{};
  const int cause = kxcam_query(index_, fits ? buffer.data() : spare_.data(), size, pixels.format, -1, 0,
                                &frame, sizeof frame);
  if (cause == KXCAM_ERROR_NO_DEVICE) return Outcome::kGone;
  if (cause != 0) return Outcome::kNothing;
  if (!fits) std::memcpy(buffer.data(), spare_.data(), buffer.size());
  picture = {.filled = std::min(size, buffer.size()),
             .size = size,
             .width = static_cast<size_t>(frame.width),
             .height = static_cast<size_t>(frame.height),
             .x = static_cast<size_t>(part.x),
             .y = static_cast<size_t>(part.y),
             .pixel_format = pixels.code,
             .frame = frame.sequence,
             .arrived_ns = static_cast<uint64_t>(frame.arrived_ns),
             .complete = fits};
  return Outcome::kPicture;
}

bool Camera::drop_oldest(int timeout_ms) {
  int size = 0;
  if (CameraGetImageBufferSize(index_, &size, KXCAM_FORMAT_RAW) != 0) return false;
  spare_.resize(static_cast<size_t>(size));
  return kxcam_query(index_, spare_.data(), spare_.size(), KXCAM_FORMAT_RAW, timeout_ms, 0, nullptr, 0) == 0;
}

bool Camera::drop_if_full() {
  // One place is left for the frame that is arriving: the camera itself drops nothing then, which nobody
  // could count.
  const kxcam_statistics now = statistics();
  if (now.state == KXCAM_GONE) report_loss();
  return now.waiting >= kRingFrames - 1 && drop_oldest(0);
}

void Camera::interrupt() {
  const Pause pause(*this);
}

void Camera::require_present() {
  if (statistics().state != KXCAM_GONE) return;
  report_loss();
  fail(kIo, "the camera is not there any more: plug it in and execute DeviceReset");
}

void Camera::report_loss() {
  std::function<void()> listener;
  {
    const std::lock_guard lock(mutex_);
    if (!std::exchange(gone_, true)) listener = listener_;
  }
  if (listener != nullptr) listener();
}

void Camera::reconnect() {
  const Pause pause(*this);
  if (CameraReconnect(index_) != 0) fail_of_library(kxcam_thread_error(), "taking the camera again");
  const std::lock_guard lock(mutex_);
  gone_ = false;
}

void Camera::on_loss(std::function<void()> listener) {
  const std::lock_guard lock(mutex_);
  listener_ = std::move(listener);
}

}  // namespace kxcam::gentl

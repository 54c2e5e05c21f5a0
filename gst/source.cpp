// SPDX-License-Identifier: Apache-2.0
#include "source.h"

#include <exception>
#include <utility>

#include "failure.h"
#include "settings_file.h"

namespace kxcam {

Source::Source(GstBaseSrc* element) : element_(element) {
  wanted_.controls.resize(controls().size());
}

Source::Wanted Source::wanted() const {
  const std::lock_guard lock(wanted_mutex_);
  return wanted_;
}

void Source::set_serial(const char* serial) {
  const std::lock_guard lock(wanted_mutex_);
  wanted_.serial = serial != nullptr ? serial : "";
}

std::string Source::serial() const {
  {
    const std::shared_lock lock(camera_mutex_);
    if (camera_ != nullptr) return camera_->serial();
  }
  return wanted().serial;
}

void Source::set_resolution(int preset) {
  {
    const std::lock_guard lock(wanted_mutex_);
    wanted_.resolution = preset;
  }
  change_geometry();
}

int Source::resolution() const {
  return wanted().resolution;
}

void Source::set_roi(const char* roi) {
  {
    const std::lock_guard lock(wanted_mutex_);
    wanted_.roi = roi != nullptr ? roi : "";
  }
  change_geometry();
}

std::string Source::roi() const {
  return wanted().roi;
}

void Source::set_settings(const char* file) {
  const std::lock_guard lock(wanted_mutex_);
  wanted_.settings = file != nullptr ? file : "";
}

std::string Source::settings() const {
  return wanted().settings;
}

void Source::set_timeout(int milliseconds) {
  const std::lock_guard lock(wanted_mutex_);
  wanted_.patience.timeout_ms = milliseconds;
}

int Source::timeout() const {
  return wanted().patience.timeout_ms;
}

void Source::set_reconnect(bool on) {
  const std::lock_guard lock(wanted_mutex_);
  wanted_.patience.reconnect = on;
}

bool Source::reconnect() const {
  return wanted().patience.reconnect;
}

void Source::set_control(size_t control, double value) {
  {
    const std::lock_guard lock(wanted_mutex_);
    assign(wanted_.controls, control, value);
  }
  bool other_rate = false;
  try {
    const std::shared_lock lock(camera_mutex_);
    if (camera_ == nullptr) return;
    const FrameRate before = camera_->rate();
    camera_->set(controls()[control], value);
    other_rate = camera_->rate().numerator != before.numerator;
  } catch (const Failure& failure) {
    {
      const std::lock_guard lock(wanted_mutex_);
      wanted_.controls[control].reset();
    }
    post_warning(element(), failure.what());
  }
  if (other_rate) gst_pad_mark_reconfigure(GST_BASE_SRC_PAD(element_));
}

double Source::control(size_t control) const {
  {
    const std::shared_lock lock(camera_mutex_);
    const auto value = camera_ != nullptr ? camera_->get(controls()[control]) : std::nullopt;
    if (value) return *value;
  }
  return wanted().controls[control].value_or(default_of(controls()[control]));
}

GstStructure* Source::statistics() const {
  constexpr const char* kStates[] = {"streaming", "idle", "gone"};
  kxcam_statistics now{};
  {
    const std::shared_lock lock(camera_mutex_);
    if (camera_ != nullptr) {
      now = camera_->statistics();
    } else {
      now.state = KXCAM_IDLE;
    }
  }
  const auto counter = [](uint64_t count) { return static_cast<guint64>(count); };
  return gst_structure_new(
      "kxcam-stats", "ended", G_TYPE_UINT64, counter(now.ended), "delivered", G_TYPE_UINT64,
      counter(now.delivered), "too-short", G_TYPE_UINT64, counter(now.too_short), "too-long", G_TYPE_UINT64,
      counter(now.too_long), "timed-out", G_TYPE_UINT64, counter(now.timed_out), "old-geometry",
      G_TYPE_UINT64, counter(now.old_geometry), "flushed", G_TYPE_UINT64, counter(now.flushed), "passed-over",
      G_TYPE_UINT64, counter(now.passed_over), "failed", G_TYPE_UINT64, counter(now.failed), "bytes",
      G_TYPE_UINT64, counter(now.bytes), "transfer-errors", G_TYPE_UINT64, counter(now.transfer_errors),
      "resets", G_TYPE_UINT64, counter(now.resets), "reconnects", G_TYPE_UINT64, counter(now.reconnects),
      "ring-full-ns", G_TYPE_UINT64, counter(now.ring_full_ns), "waiting", G_TYPE_INT, now.waiting, "state",
      G_TYPE_STRING, kStates[now.state], nullptr);
}

bool Source::trigger() const {
  const std::shared_lock lock(camera_mutex_);
  return camera_ != nullptr && camera_->trigger();
}

bool Source::measure_white_balance() const {
  const std::shared_lock lock(camera_mutex_);
  return camera_ != nullptr && camera_->measure_white_balance();
}

void Source::apply_geometry(const Wanted& wanted) {
  if (!wanted.roi.empty()) {
    camera_->select_region(Region::parse(wanted.roi));
  } else if (wanted.resolution >= 0) {
    camera_->select_preset(wanted.resolution);
  }
}

/// Of a camera that is open: its caps follow.
void Source::change_geometry() {
  try {
    const std::unique_lock lock(camera_mutex_);
    if (camera_ == nullptr) return;
    const Wanted wanted = this->wanted();
    apply_geometry(wanted);
    camera_->set_views(wanted.controls);
  } catch (const Failure& failure) {
    post_warning(element(), failure.what());
  }
  gst_pad_mark_reconfigure(GST_BASE_SRC_PAD(element_));
}

bool Source::open() try {
  std::vector<std::string> missing;
  Wanted wanted;
  {
    // Whoever sets a property meanwhile does so before this or waits.
    const std::unique_lock lock(camera_mutex_);
    wanted = this->wanted();
    ControlValues file(controls().size());
    if (!wanted.settings.empty()) file = read_settings_file(wanted.settings);
    auto camera = std::make_unique<Camera>(wanted.serial);
    missing = camera->set_all(file);
    const auto refused = camera->set_all(wanted.controls);
    if (!refused.empty()) {
      throw Failure(GST_RESOURCE_ERROR_SETTINGS, camera->name() + " does not offer " + joined(refused) + ".");
    }
    camera_ = std::move(camera);
    try {
      apply_geometry(wanted);
      camera_->set_views(wanted.controls);
      stream_ = std::make_unique<Stream>(element(), *camera_);
    } catch (...) {
      camera_.reset();
      throw;
    }
  }
  if (!missing.empty()) {
    post_warning(element(),
                 wanted.settings + " has settings that this camera does not offer: " + joined(missing) + ".");
  }
  return true;
} catch (const std::exception& error) {
  post_error(element(), error);
  return false;
}

void Source::close() {
  std::unique_ptr<Camera> camera;
  std::unique_ptr<Stream> stream;  // goes first
  const std::unique_lock lock(camera_mutex_);
  stream = std::move(stream_);
  camera = std::move(camera_);
}

void Source::start() {
  last_stamp_ = 0;
}

void Source::begin() {
  const std::shared_lock lock(camera_mutex_);
  if (stream_ != nullptr) stream_->begin();
}

void Source::interrupt(bool on) {
  const std::shared_lock lock(camera_mutex_);
  if (stream_ != nullptr) stream_->interrupt(on);
}

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <vector>

#include <gst/base/gstbasesrc.h>
#include <gst/gst.h>

#include "camera.h"
#include "controls.h"
#include "formats.h"
#include "stream.h"

namespace kxcam {

/// What is behind the element kxcamsrc. The camera is open from READY on, so that its controls can be read
/// and its caps asked for before it streams.
class Source {
 public:
  explicit Source(GstBaseSrc* element);

  // Properties and actions, in any thread.
  void set_serial(const char* serial);
  std::string serial() const;
  void set_resolution(int preset);
  int resolution() const;
  void set_roi(const char* roi);
  std::string roi() const;
  void set_settings(const char* file);
  std::string settings() const;
  void set_timeout(int milliseconds);
  int timeout() const;
  void set_reconnect(bool on);
  bool reconnect() const;
  void set_control(size_t control, double value);
  double control(size_t control) const;
  GstStructure* statistics() const;
  bool trigger() const;
  bool measure_white_balance() const;

  /// What fails is posted on the bus.
  bool open();
  void close();
  void start();
  void begin();
  void interrupt(bool on);

  // Of the streaming thread.
  GstCaps* caps() const;
  GstCaps* fixate(GstCaps* caps) const;
  /// Why the camera gives none of what the peer takes, on the bus.
  void post_no_caps(const GstCaps* offered) const;
  bool set_caps(const GstCaps* caps);
  /// Sees to it that there is a pool that fits.
  void choose_pool(GstQuery* query);
  GstFlowReturn create(GstBuffer** buffer);
  /// False while there is no camera.
  bool latency(GstClockTime& least, GstClockTime& most) const;

 private:
  struct Wanted {
    std::string serial;
    int resolution = -1;
    std::string roi;
    std::string settings;
    Stream::Patience patience{.timeout_ms = 5000, .reconnect = false};
    ControlValues controls;
  };

  void apply_settings(const Wanted& wanted) const;
  void apply_geometry(const Wanted& wanted);
  Wanted wanted() const;
  void change_geometry();
  bool follows_picture() const;
  void warn_of_raw() const;
  Stream::Outcome fill(GstBuffer* buffer, TakenFrame& frame);
  void stamp(GstBuffer* buffer, const TakenFrame& frame);
  void post_loss(const GstBuffer* buffer) const;

  GstElement* element() const { return GST_ELEMENT(element_); }

  GstBaseSrc* element_;
  mutable std::mutex wanted_mutex_;
  Wanted wanted_;
  /// Held shared while the camera is used in threads other than that of its stream.
  mutable std::shared_mutex camera_mutex_;
  std::unique_ptr<Camera> camera_;
  std::unique_ptr<Stream> stream_;

  // The streaming thread's own.
  PictureLayout layout_{};
  FrameRate rate_;
  bool takes_video_meta_ = false;
  std::vector<uint8_t> scratch_;
  GstClockTime last_stamp_ = 0;
};

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gst/check/gstharness.h>
#include <gst/gst.h>

#include "camera_bus.h"

namespace kxcam::test {

struct Unref {
  void operator()(GstBuffer* buffer) const { gst_buffer_unref(buffer); }
  void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
  void operator()(GstMessage* message) const { gst_message_unref(message); }
  void operator()(GstHarness* harness) const { gst_harness_teardown(harness); }
  void operator()(gpointer object) const { gst_object_unref(object); }
};
using Buffer = std::unique_ptr<GstBuffer, Unref>;
using Caps = std::unique_ptr<GstCaps, Unref>;
using Message = std::unique_ptr<GstMessage, Unref>;

/// kxcamsrc behind which there is nothing but the test.
class Element {
 public:
  /// `properties` as in a pipeline: "roi=0,0,202,102 gain=20".
  explicit Element(const std::string& properties = "", const std::string& caps = "ANY");
  ~Element();
  Element(const Element&) = delete;
  Element& operator=(const Element&) = delete;

  /// Says that rows may lie as the video meta tells.
  void take_video_meta();
  GstStateChangeReturn set_state(GstState state) { return gst_element_set_state(get(), state); }
  void play() { gst_harness_play(harness_.get()); }
  /// The next picture; null when an error came first.
  Buffer pull();
  /// Of that many pictures.
  std::vector<Buffer> pull(size_t count);

  /// Value of a property as a text.
  std::string property(const char* name) const;
  void set(const char* name, const std::string& value) {
    gst_util_set_object_arg(G_OBJECT(get()), name, value.c_str());
  }
  bool act(const char* signal);
  uint64_t statistic(const char* name) const;
  Caps caps() const;
  /// Those in force.
  std::string current(const char* field) const;

  /// The next message of that type; null when none came.
  Message message(GstMessageType type, GstClockTime patience = 60 * GST_SECOND);
  /// Text of the next error, or of the next warning.
  std::string error();
  std::string warning();

  GstElement* get() const { return harness_->element; }
  GstHarness* harness() const { return harness_.get(); }

 private:
  static GstBusSyncReply note_failure(GstBus* bus, GstMessage* message, gpointer self);

  std::atomic<bool> failed_ = false;
  std::unique_ptr<GstHarness, Unref> harness_;
  std::unique_ptr<GstBus, Unref> bus_;
};

/// Simulated cameras, GStreamer, and the plugin loaded from its file.
class ElementBus : public CameraBus {
 protected:
  ElementBus();

  /// Plugs in a camera that sends one picture again and again, ten times a second unless it says otherwise.
  std::shared_ptr<Camera> plug_still(const std::string& description);
};

/// The bytes of that picture.
void fill_still(const kxsim::FrameRequest& request, std::span<uint8_t> bytes);

}  // namespace kxcam::test

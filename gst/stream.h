// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include <gst/gst.h>

#include "camera.h"
#include "reconnection.h"

namespace kxcam {

/// What is known of a frame beside its picture, and what was lost before it.
struct TakenFrame {
  kxcam_frame info{};
  uint64_t lost = 0;    ///< whose end arrived
  bool broken = false;  ///< it does not follow the frame before
};

/// The frames of an open camera as the streaming thread takes them.
class Stream {
 public:
  struct Patience {
    int timeout_ms;  ///< 0 waits for ever
    bool reconnect;
  };
  enum class Outcome { kTaken, kInterrupted, kOtherSize };

  Stream(GstElement* element, const Camera& camera) : element_(element), camera_(camera) {}

  /// Frames from before this moment are passed over.
  void begin();

  /// Waits for the next frame; throws Failure when none will come, or none came in time. Tells on the bus
  /// when the camera goes and comes back.
  Outcome take(void* picture, const PictureLayout& layout, Patience patience, TakenFrame& frame);

  /// Ends the wait and keeps another from beginning, until it is switched off; in any thread.
  void interrupt(bool on);

 private:
  enum class Wait { kFrame, kTimeout, kLost, kInterrupted, kOtherSize };
  Wait wait(void* picture, const PictureLayout& layout, Patience patience, kxcam_frame& frame) const;
  bool come_back();
  bool shows(const kxcam_frame& frame, const PictureLayout& layout) const;
  void follow(TakenFrame& frame);
  void tell(const char* what) const;

  GstElement* element_;
  const Camera& camera_;
  std::atomic<int64_t> began_ns_ = 0;
  std::atomic<bool> interrupted_ = false;
  std::optional<uint64_t> next_;  ///< number of the frame that follows the last one taken
  bool broken_ = true;
  uint64_t ring_full_ns_ = 0;
  uint64_t resets_ = 0;                                      ///< of which the stream has recovered
  std::atomic<std::shared_ptr<Reconnection>> reconnection_;  ///< while the camera is away
};

}  // namespace kxcam

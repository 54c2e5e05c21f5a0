// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "buffer_pool.h"
#include "kxcam/extra.h"
#include "pixel_format.h"

namespace kxcam::gentl {

/// What is read out, in pixels of the picture: of the raw frame while that is what is delivered.
struct Region {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  bool operator==(const Region&) const = default;
};

/// An open camera, as its features and its stream see it.
///
/// The features set it up with the port's lock held; the stream's thread waits for pictures without one. What
/// both touch is guarded by mutex(), under which `changed` tells of every change.
class Camera {
 public:
  /// Throws Failure.
  explicit Camera(const std::string& serial);
  ~Camera();
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

  /// Nobody may use the camera any more, but for mutex() and changed().
  void close();

  int index() const { return index_; }
  const kxcam_description& description() const { return description_; }
  kxcam_statistics statistics() const;

  // Settings.

  bool offers(std::string_view control) const;
  /// The library sends the times of the trigger unit to its first camera, whichever is meant.
  bool can_set(std::string_view control) const;
  /// Whether the camera takes the control: some are offered for reading only. Sends its present value.
  bool takes(const char* control);
  double get(const char* control) const;
  /// Also keeps queries away meanwhile: those that drop frames would wait for the end of them.
  void set(const char* control, double value);
  /// The same for any function of the library's that sends something; `what` is tried.
  void change(const std::function<int()>& call, const std::string& what);
  /// Every setting as a reset leaves it.
  void set_neutral();
  void load_set(int slot);
  void save_set(int slot);

  // Geometry: hold the port's lock.

  Region region() const;
  /// The largest one, whose width and height are multiples of the steps.
  Region largest_region() const;
  void select_region(const Region& region);
  void select_mirror(const char* control, bool on);
  const std::vector<PixelFormat>& formats() const { return formats_; }
  PixelFormat format() const;
  void select_format(int64_t code);
  size_t payload_size() const;

  // Taking pictures.

  enum class Mode : uint8_t { kContinuous, kSingle, kMulti };

  /// Begins with pictures that arrive from then on; 0: without an end.
  void start(uint64_t pictures);
  void stop();
  bool started() const;

  /// Whoever holds it sees the state of acquisition, and of the stream's buffers, stand still.
  std::mutex& mutex() const { return mutex_; }
  std::condition_variable& changed() const { return changed_; }

  // Hold mutex().

  bool wants_picture() const { return started_ && paused_ == 0 && !gone_ && !querying_; }
  /// Between the two nobody changes what a picture depends on; mutex() may be released.
  void begin_query();
  void end_query(bool delivered);

  // Of the stream's thread, between begin_query() and end_query().

  enum class Outcome : uint8_t { kPicture, kNothing, kGone };
  Outcome query(Buffer& buffer, Picture& picture);
  /// Passes over the oldest picture if it can be kept no longer.
  bool drop_if_full();
  /// Ends the query that waits, with kNothing.
  void interrupt();

  /// Throws, and reports, when the camera is not there any more.
  void require_present();
  /// Takes the device again after it was gone.
  void reconnect();
  /// Called once when the camera goes, without a lock that a query needs.
  void on_loss(std::function<void()> listener);
  void report_loss();

 private:
  class Pause;

  bool is_raw() const { return format().is_raw(); }
  bool is_mirrored(const char* control) const { return offers(control) && get(control) != 0; }
  void read_out(const Region& region);
  void turn_back();
  bool drop_oldest(int timeout_ms);
  int change_quietly(const std::function<int()>& call);

  int index_ = -1;
  bool closed_ = false;
  kxcam_description description_{};
  std::vector<PixelFormat> formats_;
  std::vector<uint8_t> spare_;  ///< of the stream's thread: pictures that do not go into a buffer

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  Region region_;  ///< this and all below: guarded by mutex_
  size_t format_ = 0;
  bool started_ = false;
  bool counted_ = false;  ///< ends after left_ pictures
  uint64_t left_ = 0;
  int paused_ = 0;
  bool querying_ = false;
  bool gone_ = false;
  std::function<void()> listener_;
};

}  // namespace kxcam::gentl

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "frame.h"
#include "recorder.h"
#include "viewed_camera.h"

namespace kxcam::view {

/// Takes the frames of a camera in a thread of its own, while somebody looks at them or records them, and
/// brings the camera back when it was gone.
class Grabber {
 public:
  enum class State {
    kStreaming,
    kWaiting,  ///< for a trigger
    kSilent,   ///< no frame comes, though it should
    kGone,
  };
  struct Report {
    State state = State::kStreaming;
    uint64_t returns = 0;  ///< how often the camera came back
    double frames_per_second = 0;
    double megabytes_per_second = 0;
  };

  Grabber(const ViewedCamera& camera, Recorder& recorder);
  ~Grabber();
  Grabber(const Grabber&) = delete;
  Grabber& operator=(const Grabber&) = delete;

  /// The newest frame, which comes within `limit` after `number`; null when none does.
  std::shared_ptr<const Frame> next(uint64_t number, std::chrono::milliseconds limit);
  /// One of the last frames that next() gave; null when it is not among them any more.
  std::shared_ptr<const Frame> shown(uint64_t number) const;

  Report report() const;
  /// Ends every wait, for good.
  void stop();

 private:
  using Clock = std::chrono::steady_clock;

  void run();
  bool is_wanted() const;
  void wait_until_wanted();
  void take_frame();
  void note_failure(int code);
  Frame::Layout read_layout() const;
  bool needs_picture() const;
  bool make_picture(Frame& frame);
  void publish(const std::shared_ptr<Frame>& frame);
  void note_silence();
  void bring_back(State state);
  void measure_rates();
  void set_state(State state);
  std::chrono::milliseconds longest_silence() const;
  void pause(std::chrono::milliseconds duration);

  const ViewedCamera& camera_;
  Recorder& recorder_;
  int bayer_;
  std::shared_ptr<FramePool> pool_ = std::make_shared<FramePool>();
  std::vector<uint8_t> scratch_;  ///< a raw frame that may be changed
  std::vector<uint8_t> unused_;
  Clock::time_point last_frame_ = Clock::now();
  Clock::time_point next_attempt_ = last_frame_;
  Clock::time_point measured_at_ = last_frame_;
  kxcam_statistics measured_{};
  bool resumed_ = true;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool stopped_ = false;
  int waiting_ = 0;  ///< calls of next() that wait for a frame
  bool newest_was_given_ = true;
  uint64_t frames_ = 0;
  Clock::time_point last_asked_;
  Clock::time_point published_at_;
  std::shared_ptr<const Frame> newest_;
  std::deque<std::shared_ptr<const Frame>> shown_;
  Report report_;
  std::thread thread_;
};

}  // namespace kxcam::view

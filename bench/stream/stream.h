// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "device/conf_file.h"
#include "device/simulated_camera.h"

namespace kxcam::bench {

/// Who reads a camera's frames.
enum class Reader {
  kLibrary,  ///< kxcam_query(), raw frames
  kPlain,    ///< a loop around libusb_bulk_transfer() and nothing else
  kCopying,  ///< that, with a copy made of each frame
  kQueued,   ///< two transfers of libusb's that wait at the same time
};

/// Microseconds, in the order in which they were measured.
using Times = std::vector<double>;

/// The value that this part of the times does not exceed; 0 for none.
double quantile(Times times, double part);

/// What came of reading for a while.
struct Run {
  Times since_made;     ///< from when the camera had made a frame to when the program had it
  Times since_arrived;  ///< from its last byte in the library, of Reader::kLibrary only
  Times copies;         ///< for a copy of the frame that has just been read, of Reader::kCopying only
  Times gaps;           ///< before each transfer: for how long the camera had nobody to send to
  double load = 0;      ///< processor time of the thread that reads, as a part of the time
  uint64_t frames = 0;  ///< that the camera sent
  uint64_t cut = 0;     ///< of those, with bytes missing that its memory had no room for
};

/// A simulated camera on the bus of this process. Its frames begin with the time at which they were made.
class Stream {
 public:
  /// `options` as for kxsim. Reads out the whole sensor, or the region of that size at its corner.
  explicit Stream(const std::string& options, int width = 0, int height = 0);
  ~Stream();
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  int32_t frame_bytes() const { return frame_bytes_; }

  /// Throws std::runtime_error when the camera cannot be read.
  Run read(Reader reader, std::chrono::duration<double> time);

 private:
  void open_camera();
  kxsim::CameraCounters begin_counting();
  void finish(Run& run, const kxsim::CameraCounters& first);
  void read_by_library(std::chrono::duration<double> time, Run& run);
  void read_by_libusb(Reader reader, std::chrono::duration<double> time, Run& run);

  const kxsim::TemporaryConfFile conf_;
  const std::shared_ptr<kxsim::SimulatedCamera> camera_;
  const int width_;
  const int height_;
  int32_t frame_bytes_ = 0;
  std::mutex mutex_;
  Times gaps_;  ///< guarded by mutex_
};

}  // namespace kxcam::bench

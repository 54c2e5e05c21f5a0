// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vm {

// The cameras as the script around the guest serves them: their serial numbers, which end with their number
// on the command line of kxsim.
inline constexpr const char* kFiveMegapixels = "GENERIC-ID-1";  ///< 2592 x 1944 colour, behind the generic id
inline constexpr const char* kHighSpeed = "HIGH-SPEED-2";       ///< 752 x 480 colour, older bridge
inline constexpr const char* kTwentyMegapixels = "LARGE-SIZE-3";  ///< 5472 x 3648 monochrome
inline constexpr const char* kTwelveBits = "TWELVE-BIT-4";        ///< 720 x 540 monochrome, 12 bits

/// Has the host give a command to kxsim, such as "unplug 1"; "kill" and "start" are for the process itself.
/// Returns at once.
void tell_host(const std::string& command);

/// Puts the cameras back on the bus that a case which failed may have left off it.
void restore_cables();

/// Waits until so many cameras are on the bus, for the kernel and for the library.
void wait_for_cameras(int count);

/// Position on the bus of the camera with that serial number.
int index_of(const std::string& serial);

/// What the kernel has reported since it was started: the lines with a certain text in them.
std::vector<std::string> kernel_reports(std::string_view text);

/// How often the kernel has reset a device.
inline int kernel_resets() {
  return static_cast<int>(kernel_reports(": reset ").size());
}

/// A camera that is closed at the end.
class OpenCamera {
 public:
  explicit OpenCamera(const char* serial);
  ~OpenCamera();
  OpenCamera(const OpenCamera&) = delete;
  OpenCamera& operator=(const OpenCamera&) = delete;

  int index() const { return index_; }

  /// Queries a raw frame and compares every byte; returns its number.
  uint32_t numbered_frame();
  /// The same with `count` frames in the order in which they were sent. Some may be lost: an emulated
  /// processor that gets no time for as long as a transfer may take loses what was on its way. Returns the
  /// bytes per second that queries waited for.
  double numbered_frames(int count);
  /// Takes frames until a query fails for want of one. Returns how long it waited, in milliseconds.
  double wait_for_no_frame();
  /// Repeats CameraReconnect() until it works.
  void reconnect();
  void set_exposure(int lines);
  int exposure() const;

 private:
  int index_;
  std::vector<uint8_t> frame_;
  double query_ms_ = 0;  // of the last frame
};

/// The code of a call that must have failed.
int code_of_failure(uint32_t result, const std::string& call);
/// Throws unless the call was a success.
void require_success(uint32_t result, const std::string& call);

}  // namespace vm

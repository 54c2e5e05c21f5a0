// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "attached.h"
#include "picture.h"
#include "pixel_format.h"

namespace kxcam {

/// A camera that the library has open at its index, with a device or without. It is closed when the object
/// goes, whatever the reason.
class OpenCamera {
 public:
  OpenCamera(const OpenCamera&) = delete;
  OpenCamera& operator=(const OpenCamera&) = delete;

  int index() const { return identity_.index; }
  const AttachedCamera& identity() const { return identity_; }

  /// Throws Error with the library's reason when `status` is a failure.
  void require(const std::string& action, uint32_t status) const;

 protected:
  /// Whoever derives from this opens the index.
  explicit OpenCamera(AttachedCamera identity);
  ~OpenCamera();

 private:
  AttachedCamera identity_;
};

/// An open, streaming camera.
class Camera : public OpenCamera {
 public:
  /// Throws Error that says why the camera cannot be opened.
  explicit Camera(const CameraChoice& choice);

  /// Bytes of a frame in the format, as the camera is set now.
  std::size_t frame_bytes(PixelFormat format) const;

  /// Waits for the next frame and stores it in `frame`, which it resizes. Returns 0, or the library's
  /// code: KXCAM_ERROR_NO_FRAME when none came within `limit` or the user interrupted the wait.
  int query(PixelFormat format, std::chrono::milliseconds limit, std::vector<uint8_t>& frame) const;

  /// A frame with its size and depth.
  Picture describe(PixelFormat format, const std::vector<uint8_t>& frame) const;

  /// Whether the camera still answers a request.
  bool answers() const;

  /// Looks for the camera that was lost, on any port; false when it is not there (yet).
  bool come_back() const;
};

}  // namespace kxcam

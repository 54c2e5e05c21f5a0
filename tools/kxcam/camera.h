// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "open_camera.h"
#include "picture.h"
#include "pixel_format.h"

namespace kxcam {

/// An open, streaming camera.
class Camera : public OpenCamera {
 public:
  /// Opens camera `index`; throws Error that tells why it cannot be.
  explicit Camera(int index);

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

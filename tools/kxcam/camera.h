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

/// An open, streaming camera. It is closed when the object goes, whatever the reason.
class Camera {
 public:
  /// Opens camera `index`; throws Error that tells why it cannot be.
  explicit Camera(int index);
  ~Camera();
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

  int index() const { return identity_.index; }
  const AttachedCamera& identity() const { return identity_; }

  /// Throws Error with the library's reason when `status` is a failure.
  void require(const std::string& action, uint32_t status) const;

  /// Bytes of a frame in the format, as the camera is set now.
  std::size_t frame_bytes(PixelFormat format) const;

  /// Waits for the next frame and stores it in `frame`, which it resizes. Returns 0, or the library's
  /// code: KXCAM_ERROR_NO_FRAME when none came within `limit` or the user interrupted the wait.
  int query(PixelFormat format, std::chrono::milliseconds limit, std::vector<uint8_t>& frame) const;

  /// A frame with its size and depth.
  Picture describe(PixelFormat format, const std::vector<uint8_t>& frame) const;

  /// Whether the camera still answers a request.
  bool answers() const;

 private:
  AttachedCamera identity_;
};

}  // namespace kxcam

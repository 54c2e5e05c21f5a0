// SPDX-License-Identifier: Apache-2.0
#include "camera.h"

#include <algorithm>
#include <utility>

#include <kxcam/kxcam.h>

#include "diagnosis.h"
#include "interrupt.h"

namespace kxcam {
namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

OpenCamera::OpenCamera(AttachedCamera identity) : identity_(std::move(identity)) {}

OpenCamera::~OpenCamera() {
  CameraFree(index());
}

void OpenCamera::require(const std::string& action, uint32_t status) const {
  if (status != 0) throw camera_error(index(), action, library_error());
}

Camera::Camera(const CameraChoice& choice) : OpenCamera(find_camera(choice)) {
  if (CameraInit(index()) != 0) throw open_error(index(), library_error());
}

std::size_t Camera::frame_bytes(PixelFormat format) const {
  int size = 0;
  require("reading the frame size", CameraGetImageBufferSize(index(), &size, format_word(format)));
  return static_cast<std::size_t>(std::max(size, 0));
}

// The library cannot be told to stop waiting, so a long wait is made of its shortest ones: then a
// signal is noticed within half a second.
int Camera::query(PixelFormat format, std::chrono::milliseconds limit, std::vector<uint8_t>& frame) const {
  const auto deadline = Clock::now() + limit;
  CameraSetTimeout(index(), 0);
  frame.resize(frame_bytes(format));
  int size = static_cast<int>(frame.size());
  for (;;) {
    if (CameraQueryImage(index(), frame.data(), &size, format_word(format)) == 0) return 0;
    const int code = library_error();
    if (code != KXCAM_ERROR_NO_FRAME || interrupted() || Clock::now() >= deadline) return code;
  }
}

Picture Camera::describe(PixelFormat format, const std::vector<uint8_t>& frame) const {
  Picture picture;
  picture.samples = frame;
  picture.channels = format == PixelFormat::kColour ? 3 : 1;
  require("reading the picture size", CameraGetImageSize(index(), &picture.width, &picture.height));
  int bits = 8;
  require("reading the depth", CameraGetImageDepth(index(), &bits));
  if (format == PixelFormat::kRaw && bits > 8) picture.bits = bits;
  return picture;
}

bool Camera::answers() const {
  int count = 0;
  return CameraGetResolutionCount(index(), &count) == 0;
}

bool Camera::come_back() const {
  return CameraReconnect(index()) == 0;
}

}  // namespace kxcam

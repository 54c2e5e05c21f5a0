// SPDX-License-Identifier: Apache-2.0
#include "viewed_camera.h"

#include <string>

#include <fmt/format.h>

#include "diagnosis.h"

namespace kxcam::view {
namespace {

AttachedCamera opened(AttachedCamera camera) {
  int code = camera.serial.empty() ? KXCAM_ERROR_NO_DEVICE : kxcam_open(camera.serial.c_str(), &camera.index);
  // A serial number that is blank, or not the text that it was made fit to show as.
  if (code == KXCAM_ERROR_NO_DEVICE && CameraInit(camera.index) == 0) return camera;
  if (code == 0) return camera;
  throw Error(ExitCode::kFailure,
              fmt::format("camera {} could not be opened: {}", camera.serial, kxcam_error_text(code)),
              kxcam_error_remedy(code));
}

}  // namespace

ViewedCamera::ViewedCamera(const AttachedCamera& attached) : OpenCamera(opened(attached)) {}

kxcam_description ViewedCamera::description() const {
  kxcam_description description{};
  kxcam_describe(index(), &description, sizeof description);
  return description;
}

kxcam_statistics ViewedCamera::statistics() const {
  kxcam_statistics statistics{};
  kxcam_get_statistics(index(), &statistics, sizeof statistics);
  return statistics;
}

}  // namespace kxcam::view

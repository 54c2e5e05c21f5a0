// SPDX-License-Identifier: Apache-2.0
#include "open_camera.h"

#include <utility>

#include <kxcam/kxcam.h>

#include "diagnosis.h"

namespace kxcam {

OpenCamera::OpenCamera(AttachedCamera identity) : identity_(std::move(identity)) {}

OpenCamera::~OpenCamera() {
  CameraFree(index());
}

void OpenCamera::require(const std::string& action, uint32_t status) const {
  if (status != 0) throw camera_error(index(), action, library_error());
}

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kxcam/extra.h>

#include "camera.h"

namespace kxcam::view {

/// A camera that is opened by its serial number, at any index: while one is away, those behind it on the bus
/// have others.
class ViewedCamera : public OpenCamera {
 public:
  /// Throws Error that says why the camera cannot be opened.
  explicit ViewedCamera(const AttachedCamera& attached);

  kxcam_description description() const;
  kxcam_statistics statistics() const;
};

}  // namespace kxcam::view

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "camera.h"
#include "feature.h"

namespace kxcam::gentl {

/// All features of a camera: those of the standard naming convention that it has, its counters, and the
/// controls of the library that have no standard name. They refer to the camera.
std::vector<Feature> features_of(Camera& camera);

}  // namespace kxcam::gentl

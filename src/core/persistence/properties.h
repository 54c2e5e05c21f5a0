// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace kxcam {

struct CameraContext;

// Settings that are kept by name: "image_format", "resolution_index", "enable_roi" (a byte each),
// "roi_offset_x", "roi_offset_y", "roi_width", "roi_height" (two bytes each). False, without a code, for
// any other key.

/// Stores the low bytes of `value` in the live settings; the camera is not touched.
bool set_property(CameraContext& camera, std::string_view key, int value);
bool get_property(const CameraContext& camera, std::string_view key, int* value);

/// Sets the camera to the region of interest or the preset that its properties name: preset 0 when the
/// region is refused. The camera may refuse that too.
void restore_geometry(CameraContext& camera);

}  // namespace kxcam

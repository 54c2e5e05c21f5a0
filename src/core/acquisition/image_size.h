// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/registry/camera_context.h"

namespace kxcam {

/// Bytes that a picture of a raw frame of that geometry takes in `format` (kxcam_format).
int image_bytes(const FrameGeometry& geometry, int format);

// Output pointers may be null.

/// Size of the picture as it is delivered: swapped while rotated.
bool get_image_size(const CameraContext& camera, int* width, int* height);

/// Significant bits of a raw sample.
bool get_image_depth(const CameraContext& camera, int* bits);

/// Bytes that a query in `format` delivers.
bool get_image_buffer_size(const CameraContext& camera, int* size, int format);

/// Bytes that the pipeline makes of a width x height frame. ARGUMENT for a format without a picture,
/// sizes below 1 and results beyond int.
bool get_isp_image_buffer_size(const CameraContext& camera, int* size, int width, int height, int format);

}  // namespace kxcam

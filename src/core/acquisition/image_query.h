// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

struct CameraContext;

/// Waits for the next frame and delivers it in `format` (kxcam_format) to `out`.
///
/// `*size` must be exactly what get_image_buffer_size() gives. `buffer_index`, unless null, receives the
/// frame's place in the ring. NO_DEVICE for a camera without acquisition; FRAME_SIZE for an empty frame;
/// ARGUMENT for a wrong size; NO_FRAME when none came in time or acquisition was stopped.
bool query_image2(CameraContext& camera, uint8_t* out, const int* size, int* buffer_index, int format);

/// query_image2() without the place.
bool query_image(CameraContext& camera, uint8_t* out, const int* size, int format);

/// query_image() with `*size` in pixels of four bytes.
bool query_image_lv(CameraContext& camera, uint32_t* out, const int* size, int format);

}  // namespace kxcam

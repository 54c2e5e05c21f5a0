// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

/// Waits for the next frame and delivers it in `format` (kxcam_format) to `out`.
///
/// `*size` must be exactly what get_image_buffer_size() gives. `buffer_index`, unless null, receives the
/// frame's place in the ring. Codes: none for an index out of range; 3; 4 for a camera without acquisition;
/// 12 for an empty frame; 2 for a wrong size; 17 when no frame came in time or acquisition was stopped.
bool query_image2(int camera, uint8_t* out, int* size, int* buffer_index, int format);

/// query_image2() without the place.
bool query_image(int camera, uint8_t* out, int* size, int format);

/// query_image() with `*size` in pixels of four bytes.
bool query_image_lv(int camera, uint32_t* out, int* size, int format);

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/acquisition/frame_ring.h"

namespace kxcam {

struct CameraContext;

// What a query delivers. Output pointers may be null.

/// Size of the picture as it is delivered: swapped while rotated.
bool get_image_size(const CameraContext& camera, int* width, int* height);

/// Significant bits of a raw sample.
bool get_image_depth(const CameraContext& camera, int* bits);

/// Bytes that a query in `format` (kxcam_format) delivers.
bool get_image_buffer_size(const CameraContext& camera, int* size, int format);

/// Bytes that the pipeline makes of a width x height frame. ARGUMENT for a format without a picture,
/// sizes below 1 and results beyond int.
bool get_isp_image_buffer_size(const CameraContext& camera, int* size, int width, int height, int format);

/// Least time that a query waits, in ms, clamped to 500..50000.
bool set_time_out(CameraContext& camera, int ms);
int get_time_out(const CameraContext& camera);

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

/// What is known of a frame that was delivered.
struct DeliveredFrame {
  FrameRing::Taken taken;
  int width = 0;  ///< of the picture
  int height = 0;
};

/// query_image2() that waits as it is told. Codes as there; 4 also when the device is gone, and none when the
/// wait was interrupted, which `frame.taken` tells.
bool query_frame(CameraContext& context, uint8_t* out, size_t size, int format, const FrameRing::Wait& wait,
                 DeliveredFrame& frame);

/// Drops the frames that wait in the ring and those that arrive within 200 ms, at most five. NO_DEVICE.
bool clear_host_buffer(CameraContext& camera);

/// Ends acquisition for good: the reader stops and queries fail until the camera is opened again.
void abort_query(CameraContext& camera);

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "core/registry/camera_context.h"
#include "isp/defects.h"
#include "isp/frame_settings.h"

namespace kxcam {

/// Makes a raw, grey or colour picture of a raw frame, in the calling thread.
///
/// `in`: width x height raw samples, one byte each, on a 12-bit model two bytes in little-endian
/// order; it may be corrected in place. `out`: width x height pixels of `format` (kxcam_format; raw
/// comes before grey and grey before colour; with none of them nothing is written). `width` and
/// `height` are those of the picture as it is delivered, and their product that of the index map: a
/// frame of another shape is taken as rows of `width` pixels.
///
/// Automatic exposure and gain take their step after a grey or colour picture.
///
/// False with ARGUMENT when the product differs; without a code when memory runs out; for a grey
/// picture also when exposure or gain could not be written (the picture is complete all the same).
/// Thread-safe; frames of one camera may be processed side by side.
bool isp(CameraContext& ctx, uint8_t* in, uint8_t* out, int width, int height, int format);

/// The same for a frame of known geometry: a map of another one, after a change in another thread, is
/// ARGUMENT and no garbled picture. An exposure that could not be written fails no frame.
bool isp_raw_frame(CameraContext& ctx, uint8_t* in, uint8_t* out, const FrameGeometry& geometry, int format);

/// What is in force for the next frame of a camera.
FrameSettings frame_settings(const CameraContext& ctx);

/// The placement of a width x height frame under the region and the readout mode in force.
FramePlacement place_frame(const SensorSize& sensor, const std::optional<RegionInForce>& region,
                           uint8_t readout_mode, int32_t width, int32_t height);

}  // namespace kxcam

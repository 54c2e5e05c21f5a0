// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "isp/frame_memory.h"
#include "isp/frame_settings.h"
#include "isp/image_view.h"
#include "isp/kernels/cpu_level.h"
#include "isp/kernels/fast_corrections.h"
#include "isp/kernels/row_kernels.h"
#include "isp/sensor_layout.h"

namespace kxcam {

/// The kernels of a level; null for kScalar, which has none.
const RowKernels* kernels_of(CpuLevel level);

/// A raw frame, and what is still to be corrected in it: it is, once there is a picture.
struct RawRows {
  ImageView view;
  const RowCorrections* corrections = nullptr;  ///< of that frame; null: nothing
};

/// The pictures of plain_picture.h, bit for bit, by row kernels. Sizes, `format` and result are
/// as there; `memory` is for the rows at work. Nothing when the kernels cannot give them: for a frame of
/// another shape than the map's, tables that do not fit 16-bit arithmetic, or for want of memory; `out` and
/// frame are untouched then.
std::optional<int32_t> fast_bayer_color(const RowKernels& kernels, BayerPhase phase,
                                        const FrameSettings& settings, const RawRows& raw, uint8_t* out,
                                        int format, WorkMemory& memory);
std::optional<int32_t> fast_bayer_grey(const RowKernels& kernels, BayerPhase phase,
                                       const FrameSettings& settings, const RawRows& raw, uint8_t* out,
                                       WorkMemory& memory);
std::optional<int32_t> fast_mono_color(const RowKernels& kernels, const FrameSettings& settings,
                                       const RawRows& raw, uint8_t* out, int format, WorkMemory& memory);
std::optional<int32_t> fast_mono_grey(const RowKernels& kernels, const FrameSettings& settings,
                                      const RawRows& raw, uint8_t* out, WorkMemory& memory);

}  // namespace kxcam

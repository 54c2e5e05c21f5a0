// SPDX-License-Identifier: Apache-2.0
#include "isp/develop.h"

#include <cassert>
#include <cstdint>
#include <optional>

#include "isp/defects.h"
#include "isp/kernels/cpu_level.h"
#include "isp/kernels/fast_corrections.h"
#include "isp/kernels/fast_picture.h"
#include "isp/plain_picture.h"
#include "isp/sensor_layout.h"
#include "kxcam/kxcam.h"

namespace kxcam {
namespace {

/// Steps of a correction for row kernels. Both arguments have to outlive the result.
RowCorrections row_corrections(const MutableImageView& frame, const RawCorrections& corrections, bool keep) {
  return {.frame = frame,
          .field = corrections.flat_field.get(),
          .x0 = corrections.placement.x0,
          .y0 = corrections.placement.y0,
          .despeckled = corrections.despeckled,
          .keep = keep};
}

void correct_sites(const MutableImageView& frame, const RawCorrections& corrections) {
  if (corrections.dead_pixels)
    replace_dead_pixels(frame, corrections.placement, corrections.dead_pixels->listed());
}

void correct_levels(CpuLevel level, const MutableImageView& frame, const RawCorrections& corrections,
                    WorkMemory& memory) {
  if (!corrections.flat_field && !corrections.despeckled) return;
  const RowCorrections rows = row_corrections(frame, corrections, true);
  if (const RowKernels* kernels = kernels_of(level); kernels != nullptr && RowCorrector::can(rows)) {
    if (uint8_t* work = memory.reserve(RowCorrector::memory_size(rows)))
      return correct_rows(*kernels, rows, work);
  }
  if (corrections.flat_field)
    apply_flat_field(frame, *corrections.flat_field, corrections.placement.x0, corrections.placement.y0);
  if (corrections.despeckled) despeckle(frame);
}

using Converter = int32_t (*)(const FrameSettings&, const ImageView&, uint8_t*, int);

Converter reference(uint32_t color_mode, bool grey) {
  switch (color_mode) {
    case kRGGB:
      return grey ? RGGBtoGray8 : RGGBtoRGB888;
    case kBGGR:
      return grey ? BGGRtoGray8 : BGGRtoRGB888;
    case kGRBG:
      return grey ? GRBGtoGray8 : GRBGtoRGB888;
    case kGBRG:
      return grey ? GBRGtoGray8 : GBRGtoRGB888;
    case kMono8:
    case kMono12:
      return grey ? RAW8toGray8 : RAW8toRGB888;
    default:
      return nullptr;
  }
}

std::optional<int32_t> fast(const RowKernels& kernels, uint32_t color_mode, const FrameSettings& settings,
                            const RawRows& raw, uint8_t* out, int format, WorkMemory& memory) {
  const bool grey = (format & KXCAM_FORMAT_GREY) != 0;
  const auto phase = bayer_phase(color_mode);
  if (phase && grey) return fast_bayer_grey(kernels, *phase, settings, raw, out, memory);
  if (phase) return fast_bayer_color(kernels, *phase, settings, raw, out, format, memory);
  if (grey) return fast_mono_grey(kernels, settings, raw, out, memory);
  return fast_mono_color(kernels, settings, raw, out, format, memory);
}

}  // namespace

void correct(CpuLevel level, const MutableImageView& frame, const RawCorrections& corrections,
             WorkMemory& memory) {
  correct_sites(frame, corrections);
  correct_levels(level, frame, corrections, memory);
}

bool is_picture(uint32_t color_mode, int format) {
  return (format & (KXCAM_FORMAT_GREY | KXCAM_FORMAT_COLOR)) != 0 && reference(color_mode, false) != nullptr;
}

int32_t develop(CpuLevel level, uint32_t color_mode, const FrameSettings& settings, const ImageView& raw,
                uint8_t* out, int format, WorkMemory& memory) {
  assert(is_picture(color_mode, format));
  if (const RowKernels* kernels = kernels_of(level)) {
    if (const auto mean = fast(*kernels, color_mode, settings, {raw}, out, format, memory)) return *mean;
  }
  return reference(color_mode, (format & KXCAM_FORMAT_GREY) != 0)(settings, raw, out, format);
}

int32_t develop_corrected(CpuLevel level, uint32_t color_mode, const FrameSettings& settings,
                          const MutableImageView& raw, const RawCorrections& corrections, bool keep,
                          uint8_t* out, int format, WorkMemory& memory) {
  assert(is_picture(color_mode, format));
  correct_sites(raw, corrections);
  const RowCorrections rows = row_corrections(raw, corrections, keep);
  const RowKernels* kernels = kernels_of(level);
  if (kernels != nullptr && (rows.field != nullptr || rows.despeckled) && RowCorrector::can(rows)) {
    if (const auto mean = fast(*kernels, color_mode, settings, {raw, &rows}, out, format, memory))
      return *mean;
  }
  correct_levels(level, raw, corrections, memory);
  return develop(level, color_mode, settings, raw, out, format, memory);
}

}  // namespace kxcam

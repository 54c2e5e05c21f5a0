// SPDX-License-Identifier: Apache-2.0
#include "isp/develop.h"

#include "isp/bayer_phase.h"
#include "isp/demosaic.h"
#include "isp/kernels/fast_picture.h"
#include "isp/mono.h"
#include "kxcam/kxcam.h"

namespace kxcam {
namespace {

using Converter = int32_t (*)(const FrameSettings&, const ImageView&, uint8_t*, int);

/// What a colour mode is made into pictures with.
struct Method {
  Converter to_grey = nullptr;
  Converter to_color = nullptr;
  std::optional<BayerPhase> phase;  ///< none: monochrome
};

Method method_of(uint32_t color_mode) {
  switch (color_mode) {
    case kRGGB:
      return {RGGBtoGray8, RGGBtoRGB888, kPhaseRGGB};
    case kBGGR:
      return {BGGRtoGray8, BGGRtoRGB888, kPhaseBGGR};
    case kGRBG:
      return {GRBGtoGray8, GRBGtoRGB888, kPhaseGRBG};
    case kGBRG:
      return {GBRGtoGray8, GBRGtoRGB888, kPhaseGBRG};
    case kMono8:
    case kMono12:
      return {RAW8toGray8, RAW8toRGB888, std::nullopt};
    default:
      return {};
  }
}

const RowKernels* kernels_of(CpuLevel level) {
  switch (level) {
    case CpuLevel::kSsse3:
      return &kSsse3Kernels;
    case CpuLevel::kAvx2:
      return &kAvx2Kernels;
    case CpuLevel::kAvx512:
      return &kAvx512Kernels;
    default:
      return nullptr;
  }
}

std::optional<int32_t> fast(const RowKernels& kernels, const Method& method, const FrameSettings& settings,
                            const ImageView& raw, uint8_t* out, int format) {
  const bool grey = (format & KXCAM_FORMAT_GREY) != 0;
  if (!method.phase) {
    return grey ? fast_mono_grey(kernels, settings, raw, out)
                : fast_mono_color(kernels, settings, raw, out, format);
  }
  return grey ? fast_bayer_grey(kernels, *method.phase, settings, raw, out)
              : fast_bayer_color(kernels, *method.phase, settings, raw, out, format);
}

}  // namespace

std::optional<int32_t> develop(CpuLevel level, uint32_t color_mode, const FrameSettings& settings,
                               const ImageView& raw, uint8_t* out, int format) {
  if ((format & (KXCAM_FORMAT_GREY | KXCAM_FORMAT_COLOR)) == 0) return std::nullopt;
  const Method method = method_of(color_mode);
  const Converter reference = (format & KXCAM_FORMAT_GREY) != 0 ? method.to_grey : method.to_color;
  if (reference == nullptr) return std::nullopt;
  if (const RowKernels* kernels = kernels_of(level)) {
    if (const auto mean = fast(*kernels, method, settings, raw, out, format)) return mean;
  }
  return reference(settings, raw, out, format);
}

}  // namespace kxcam

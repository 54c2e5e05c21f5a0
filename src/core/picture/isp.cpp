// SPDX-License-Identifier: Apache-2.0
#include "core/picture/isp.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>

#include "core/control/auto_exposure.h"
#include "core/picture/white_balance_settings.h"
#include "isp/develop.h"
#include "isp/frame_settings.h"
#include "isp/image_view.h"
#include "kxcam/kxcam.h"
#include "usb/last_error.h"

namespace kxcam {
namespace {

std::shared_ptr<const FlatField> flat_field_in_force(const CameraContext& ctx, uint16_t flags) {
  if ((flags & kFixedPatternOff) != 0) return nullptr;
  auto field = ctx.picture.flat_field.load();
  return field->flat() ? nullptr : field;
}

/// What is in force for a raw frame of that size.
RawCorrections raw_corrections(const CameraContext& ctx, int32_t width, int32_t height) {
  const uint16_t flags = ctx.parameter.isp_flags;
  return {
      .dead_pixels = ctx.picture.dead_pixels.load(),
      .flat_field = flat_field_in_force(ctx, flags),
      .despeckled = (flags & kDespeckleOff) == 0,
      .placement = place_frame(ctx.model().SENSOR_ARRAY, ctx.stream.readout.load()->region,
                               ctx.parameter.resolution_mode, width, height),
  };
}

bool has_pixels(const IndexMap& map, int width, int height) {
  return width >= 1 && height >= 1 && int64_t{width} * height == map.count();
}

/// What becomes of the raw frame: whether the caller finds it corrected.
enum class After { kKept, kDropped };

/// What was asked for since the last frame. Measured before the picture is made, which then has the new
/// gains already. A request that comes in meanwhile is kept for the next frame.
struct WhiteBalanceRequest {
  explicit WhiteBalanceRequest(PicturePart& picture)
      : one_push(picture.one_push_request.exchange(false)), points(picture.auto_wb_request.exchange(false)) {}

  bool one_push;
  bool points;
};

void measure_white_balance(CameraContext& ctx, const WhiteBalanceRequest& request, FrameSettings& settings,
                           const ImageView& raw) {
  if (request.one_push) ManualWhiteBalance(ctx, raw);
  if (request.points) PointWhiteBalance(ctx, raw);
  settings.curves = ctx.picture.curves.load();
}

void make_picture(CameraContext& ctx, FrameSettings settings, const MutableImageView& raw,
                  const RawCorrections& corrections, After after, uint8_t* out, int format,
                  WorkMemory& memory) {
  const CpuLevel level = cpu_choice().level;
  const CameraModel& model = ctx.model();
  if (!model.monochrome()) {
    const WhiteBalanceRequest request(ctx.picture);
    if (request.one_push || request.points) {
      correct(level, raw, corrections, memory);
      measure_white_balance(ctx, request, settings, raw);
      ctx.picture.mean_level = develop(level, model.COLOR_MODE, settings, raw, out, format, memory);
      return;
    }
  }
  ctx.picture.mean_level = develop_corrected(level, model.COLOR_MODE, settings, raw, corrections,
                                             after == After::kKept, out, format, memory);
}

/// `width` and `height` are those of the raw frame, and their product is that of the settings' map.
bool process(CameraContext& ctx, const FrameSettings& settings, uint8_t* in, After after, uint8_t* out,
             int width, int height, int format) {
  const uint32_t color_mode = ctx.model().COLOR_MODE;
  std::span<uint8_t> frame(in, settings.index_map.count());
  FrameMemoryPool::Lease lease(ctx.picture.frame_memory);
  FrameMemory& memory = *lease;
  if (color_mode == kMono12) {
    uint8_t* reduced = memory.samples.reserve(frame.size());
    if (reduced == nullptr) return false;
    reduce_to_8_bits(in, frame.size(), *settings.user_lut, reduced);
    frame = {reduced, frame.size()};
    after = After::kDropped;
  }

  // A processed frame is counted here and not again by the query: with two counts a frame the number would
  // stay odd in here, and what runs on multiples of 4 or 32 would never run.
  ctx.stream.frames_delivered.add(1);

  const MutableImageView raw(frame, width, height);
  RawCorrections corrections;
  if ((format & KXCAM_FORMAT_UNCORRECTED) == 0) corrections = raw_corrections(ctx, width, height);
  if ((format & KXCAM_FORMAT_RAW) == 0 && is_picture(color_mode, format)) {
    make_picture(ctx, settings, raw, corrections, after, out, format, memory.rows);
    return true;
  }
  correct(cpu_choice().level, raw, corrections, memory.rows);
  if ((format & KXCAM_FORMAT_RAW) != 0) std::ranges::copy(frame, out);
  return true;
}

/// Lets exposure and white balance follow the level of a picture that was just made. Only a grey picture
/// answers for the exposure.
bool follow_level(CameraContext& ctx, int format) {
  const CameraModel& model = ctx.model();
  if ((format & KXCAM_FORMAT_RAW) != 0 || !is_picture(model.COLOR_MODE, format)) return true;
  const bool grey = (format & KXCAM_FORMAT_GREY) != 0;
  // Colour pictures of all orders but one are exposed before they are balanced.
  const bool balanced_first = grey || model.COLOR_MODE == kBGGR;
  if (!model.monochrome() && balanced_first) AutoWhiteBalance(ctx);
  const bool exposed = AutoExposure(ctx);
  if (!model.monochrome() && !balanced_first) AutoWhiteBalance(ctx);
  return exposed || !grey;
}

}  // namespace

FrameSettings frame_settings(const CameraContext& ctx) {
  const bool enhanced = (ctx.parameter.isp_flags & kEnhancement) != 0;
  const auto index_map = ctx.stream.index_map.load();
  return {
      .curves = ctx.picture.curves.load(),
      .matrix = ctx.picture.matrix.load(),
      .user_lut = ctx.picture.user_lut.load(),
      .apply_matrix = enhanced || ctx.parameter.saturation != 1.0,
      .index_map = index_map ? *index_map : IndexMap(),
  };
}

FramePlacement place_frame(const SensorSize& sensor, const std::optional<RegionInForce>& region,
                           uint8_t readout_mode, int32_t width, int32_t height) {
  if (width == sensor.width && height == sensor.height) return {};
  if (region) return {Readout::kWindow, region->offset_x, region->offset_y};
  const int64_t twice_width = int64_t{2} * width;
  const int64_t twice_height = int64_t{2} * height;
  if (readout_mode != 0 && twice_width < sensor.width && twice_height < sensor.height) {
    return {Readout::kBinned, static_cast<int32_t>((sensor.width - twice_width) >> 1),
            static_cast<int32_t>((sensor.height - twice_height) >> 1)};
  }
  return {Readout::kWindow, (sensor.width - width) >> 1, (sensor.height - height) >> 1};
}

bool isp(CameraContext& ctx, uint8_t* in, uint8_t* out, int width, int height, int format) {
  const FrameSettings settings = frame_settings(ctx);
  if (!has_pixels(settings.index_map, width, height)) return fail(KXCAM_ERROR_ARGUMENT);
  if (is_rotated(settings.index_map)) std::swap(width, height);
  return process(ctx, settings, in, After::kKept, out, width, height, format) && follow_level(ctx, format);
}

bool isp_raw_frame(CameraContext& ctx, uint8_t* in, uint8_t* out, const FrameGeometry& geometry, int format) {
  const FrameSettings settings = frame_settings(ctx);
  const IndexMap& map = settings.index_map;
  if (map.width() != geometry.frame_width || map.height() != geometry.frame_height)
    return fail(KXCAM_ERROR_ARGUMENT);
  if (!process(ctx, settings, in, After::kDropped, out, geometry.frame_width, geometry.frame_height, format))
    return false;
  follow_level(ctx, format);
  return true;
}

}  // namespace kxcam

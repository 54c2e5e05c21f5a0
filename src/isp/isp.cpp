// SPDX-License-Identifier: Apache-2.0
#include "isp/isp.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <span>
#include <utility>

#include "core/contexts.h"
#include "core/last_error.h"
#include "isp/develop.h"
#include "isp/frame_settings.h"
#include "isp/image_view.h"
#include "kxcam/kxcam.h"

namespace kxcam {
namespace {

bool has_pixels(const IndexMap& map, int width, int height) {
  return width >= 1 && height >= 1 && int64_t{width} * height == map.count();
}

/// A frame of 8-bit samples from one of 12-bit samples; null when memory runs out.
std::unique_ptr<uint8_t[]> reduce_to_8_bits(const uint8_t* in, size_t samples, const UserLut& lut) try {
  auto frame = std::make_unique_for_overwrite<uint8_t[]>(samples);
  for (size_t i = 0; i < samples; ++i) frame[i] = lut[(in[2 * i] | in[2 * i + 1] << 8) & 0x0FFF];
  return frame;
} catch (const std::bad_alloc&) {
  return nullptr;
}

/// `width` and `height` are those of the raw frame, and their product is that of the settings' map.
bool process(CameraContext& ctx, const FrameSettings& settings, uint8_t* in, uint8_t* out, int width,
             int height, int format) {
  const uint32_t color_mode = ctx.model().COLOR_MODE;
  std::span<uint8_t> frame(in, settings.index_map.count());
  std::unique_ptr<uint8_t[]> reduced;
  if (color_mode == kMono12) {
    reduced = reduce_to_8_bits(in, frame.size(), *settings.user_lut);
    if (!reduced) return false;
    frame = {reduced.get(), frame.size()};
  }

  // Counted here and nowhere else for a processed frame: exposure and white balance are paced by it.
  ctx.frames_delivered.add(1);

  if ((format & KXCAM_FORMAT_RAW) != 0) {
    std::ranges::copy(frame, out);
    return true;
  }
  const ImageView raw(frame, width, height);
  if (const auto mean = develop(cpu_choice().level, color_mode, settings, raw, out, format))
    ctx.mean_level = *mean;
  return true;
}

}  // namespace

bool isp(int camera, uint8_t* in, uint8_t* out, int width, int height, int format) {
  const ContextRef ctx = find_camera(camera);
  return ctx && isp(*ctx, in, out, width, height, format);
}

bool isp(CameraContext& ctx, uint8_t* in, uint8_t* out, int width, int height, int format) {
  const ReadLock lock(ctx.context_lock);
  const FrameSettings settings = frame_settings(ctx);
  if (!has_pixels(settings.index_map, width, height)) return fail(KXCAM_ERROR_ARGUMENT);
  if (is_rotated(settings.index_map)) std::swap(width, height);
  return process(ctx, settings, in, out, width, height, format);
}

bool isp_raw_frame(CameraContext& ctx, uint8_t* in, uint8_t* out, const FrameGeometry& geometry, int format) {
  const ReadLock lock(ctx.context_lock);
  const FrameSettings settings = frame_settings(ctx);
  const IndexMap& map = settings.index_map;
  if (map.width() != geometry.frame_width || map.height() != geometry.frame_height)
    return fail(KXCAM_ERROR_ARGUMENT);
  return process(ctx, settings, in, out, geometry.frame_width, geometry.frame_height, format);
}

}  // namespace kxcam

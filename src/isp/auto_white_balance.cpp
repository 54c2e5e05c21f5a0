// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <cstdlib>

#include "core/camera_context.h"
#include "core/isp_flags.h"
#include "isp/white_balance.h"

namespace kxcam {
namespace {

/// A change of the mean level that is looked for every so many frames.
struct Trigger {
  uint32_t every_frames;
  int least_change;

  bool fires(uint32_t frames, int change) const {
    return frames % every_frames == 0 && change >= least_change;
  }
};

constexpr Trigger kLargeChange = {5, 31};
constexpr Trigger kModerateChange = {32, 11};

}  // namespace

void AutoWhiteBalance(CameraContext& ctx) {
  if ((ctx.parameter.isp_flags & kAutoWhiteBalance) == 0) return;
  const int32_t level = ctx.mean_level;
  const int change = std::abs(ctx.wb_last_avg - level);
  const uint32_t frames = ctx.frames_delivered;
  if (!kLargeChange.fires(frames, change) && !kModerateChange.fires(frames, change)) return;
  ctx.wb_last_avg = level;
  ctx.auto_wb_request = true;
}

}  // namespace kxcam

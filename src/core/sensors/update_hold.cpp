// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/update_hold.h"

#include <algorithm>

#include "core/control/exposure.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/trigger_request.h"
#include "sync/clock.h"

namespace kxcam {

namespace {

enum SensorRegister : uint32_t {
  kLineLengthHigh = 0x320C,
  kLineLengthLow = 0x320D,
  kTriggerMode = 0x3222,
  kTriggerExposureHigh = 0x3230,
  kTriggerExposureLow = 0x3231,
  kExposureHigh = 0x3E00,
  kExposureMiddle = 0x3E01,
  kExposureLow = 0x3E02,
  kCoarseGain = 0x3E08,
  kFineGain = 0x3E09,
};
constexpr int32_t kLongestExposure = 64000;
constexpr uint32_t kTriggered = 3;
constexpr uint32_t kFreeRunning = 1;
constexpr int kTriggeredSettleMs = 100;
constexpr int kFreeRunningSettleMs = 10;

}  // namespace

bool write_held_exposure(CameraContext& camera, int32_t lines) {
  const auto e = static_cast<uint32_t>(std::min(lines, kLongestExposure));
  const bool written = sccb_write_all(camera, {{kUpdateHold, kHoldBegin},
                                               {kExposureHigh, e >> 12},
                                               {kExposureMiddle, (e >> 4) & 0xFF},
                                               {kExposureLow, (e << 4) & 0xFF},
                                               {kUpdateHold, kHoldEnd}});
  sccb_write_all(
      camera, {{kUpdateHold, kHoldLaunch}, {kTriggerExposureHigh, e >> 8}, {kTriggerExposureLow, e & 0xFF}});
  set_exposure_width(camera, 0, 0);
  return written;
}

bool write_held_loop_exposure(CameraContext& camera, int32_t lines) {
  const auto e = static_cast<uint32_t>(lines);
  return sccb_write_all(camera, {{kUpdateHold, kHoldBegin},
                                 {kExposureHigh, 0},
                                 {kExposureMiddle, e >> 4},
                                 {kExposureLow, (e << 4) & 0xFF},
                                 {kUpdateHold, kHoldEnd},
                                 {kUpdateHold, kHoldLaunch}});
}

bool write_held_gain(CameraContext& camera, uint32_t coarse, uint32_t fine) {
  return sccb_write_all(camera, {{kUpdateHold, kHoldBegin},
                                 {kCoarseGain, coarse},
                                 {kFineGain, fine},
                                 {kUpdateHold, kHoldEnd},
                                 {kUpdateHold, kHoldLaunch}});
}

std::optional<LineTiming> held_line_timing(CameraContext& camera, double clock_mhz) {
  const std::optional<int32_t> length = sccb_read_pair(camera, kLineLengthHigh, kLineLengthLow);
  if (!length) return std::nullopt;
  if (*length < 1) return impossible_timing();
  const double line_time_ms = *length / (clock_mhz * 1000);
  return LineTiming{.line_time_ms = line_time_ms,
                    .flicker_lines = lines_per_half_period(camera, 1000, line_time_ms)};
}

bool switch_held_trigger(CameraContext& camera, bool triggered) {
  sccb_write(camera, kTriggerMode, triggered ? kTriggered : kFreeRunning);
  sysdelay(triggered ? kTriggeredSettleMs : kFreeRunningSettleMs);
  pulse_trigger_line(camera);
  return true;
}

}  // namespace kxcam

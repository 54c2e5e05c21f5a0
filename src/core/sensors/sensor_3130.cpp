// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/control/exposure.h"
#include "core/control/registers.h"
#include "core/control/trigger.h"
#include "core/registry/camera_context.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/sensor_family.h"
#include "sync/clock.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x3130, 0x313B};

enum SensorRegister : uint32_t {
  kLineLengthHigh = 0x320C,
  kLineLengthLow = 0x320D,
  kFrameLengthHigh = 0x320E,
  kFrameLengthLow = 0x320F,
  kTriggerMode = 0x3234,
  kExposureHigh = 0x3E01,
  kExposureLow = 0x3E02,
  kCoarseGain = 0x3E08,
  kFineGain = 0x3E09,
};
constexpr LineClock kLineClock{.hz = 1.25e7, .period_ms = 8e-5};
constexpr int32_t kLongestExposure = 4095;
constexpr int32_t kLongestTriggeredExposure = 520;
constexpr int32_t kLeastFrameLength = 526;
constexpr uint32_t kFreeRunning = 0x30;
constexpr uint32_t kTriggered = 0xB0;
constexpr int kSettleMs = 10;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  const std::optional<int32_t> half_length = sccb_read_pair(camera, kLineLengthHigh, kLineLengthLow);
  if (!half_length) return std::nullopt;
  return clocked_line(camera, kLineClock, (*half_length * 2) >> 3);
}

bool write_exposure(CameraContext& camera, int32_t lines) {
  const int32_t longest = is_triggered(camera) ? kLongestTriggeredExposure : kLongestExposure;
  const auto e = static_cast<uint32_t>(std::min(lines, longest));
  const bool written = sccb_write(camera, kExposureHigh, e >> 4);
  sccb_write(camera, kExposureLow, (e << 4) & 0xFF);
  return written;
}

bool write_loop_exposure(CameraContext& camera, int32_t lines) {
  const auto e = static_cast<uint32_t>(lines);
  return sccb_write_all(camera, {{kExposureHigh, e >> 4}, {kExposureLow, (e << 4) & 0xFF}});
}

constexpr uint32_t coarse_gain(int32_t step) {
  if (step < 64) return 3;
  if (step < 128) return 7;
  return step < 192 ? 0x27 : 0x67;
}

bool write_gain(CameraContext& camera, int32_t gain) {
  const int32_t step = gain - 1;
  const bool written = sccb_write(camera, kCoarseGain, coarse_gain(step));
  sccb_write(camera, kFineGain, static_cast<uint32_t>(((step >> 1) & 31) + 32));
  return written;
}

/// The loop stays in the lowest coarse range.
bool write_loop_gain(CameraContext& camera, int32_t gain) {
  const auto fine = static_cast<uint32_t>((gain - 1) % 64 / 2 + 32);
  return sccb_write_all(camera, {{kCoarseGain, 3}, {kFineGain, fine}});
}

void write_delay(CameraContext& camera, int32_t lines) {
  const int64_t length = int64_t{lines} + kLeastFrameLength;
  sccb_write(camera, kFrameLengthHigh, static_cast<uint32_t>(length >> 8));
  sccb_write(camera, kFrameLengthLow, byte_of(length, 0));
}

bool switch_trigger(CameraContext& camera, bool triggered) {
  if (triggered && camera.parameter.exposure > kLongestTriggeredExposure) {
    set_exposure(camera, kLongestTriggeredExposure);
  }
  sccb_write(camera, kTriggerMode, triggered ? kTriggered : kFreeRunning);
  if (!request_trigger_mode(camera, triggered)) return false;
  sysdelay(kSettleMs);
  pulse_trigger_line(camera);
  return true;
}

constexpr SensorFamily kFamilies[] = {{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 16},
    .longest_exposure = kLongestExposure,
    .trigger_wait_ms = 2,
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = write_gain,
    .write_loop_exposure = write_loop_exposure,
    .write_loop_gain = write_loop_gain,
    .write_delay = write_delay,
    .switch_trigger = switch_trigger,
}};

}  // namespace

extern const SensorGeneration sensors_3130 = kFamilies;

}  // namespace kxcam

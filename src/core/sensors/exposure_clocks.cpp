// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/exposure_clocks.h"

#include <algorithm>

#include "core/registry/camera_context.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/register_sequence.h"

namespace kxcam {

namespace {

constexpr double kClockMs = 1.736111111111111e-5;
constexpr double kFlickerClockHz = 2.88e7;

enum SensorRegister : uint32_t {
  kGainLow = 0x09,
  kGainHigh = 0x0A,
};
constexpr int32_t kHighestLoopGain = 32;
constexpr int32_t kCodesPerStep = 24;

}  // namespace

LineTiming exposure_dependent_line(const CameraContext& camera, double shared, double fixed) {
  const double clocks = shared / std::max<int32_t>(camera.parameter.exposure, 1) + fixed;
  return {.line_time_ms = clocks * kClockMs,
          .flicker_lines = lines_per_half_period(camera, kFlickerClockHz, clocks)};
}

bool write_coarse_loop_gain(CameraContext& camera, int32_t gain) {
  const int32_t code = (std::min(gain, kHighestLoopGain) - 1) * kCodesPerStep;
  return sccb_write_all(camera, {{kGainLow, byte_of(code, 0) & 0xF8}, {kGainHigh, byte_of(code, 1)}});
}

}  // namespace kxcam

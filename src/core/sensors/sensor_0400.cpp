// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"
#include "core/sensors/update_hold.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0400, 0x040B};

enum SensorRegister : uint32_t {
  kCoarseDigitalGain = 0x3E06,
  kFineDigitalGain = 0x3E07,
};
constexpr double kPixelClockMhz = 60.75;

struct GainCode {
  uint32_t coarse;
  uint32_t fine;
};

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t /*line_length*/) {
  return held_line_timing(camera, kPixelClockMhz);
}

constexpr GainCode gain_code(uint32_t gain) {
  const uint32_t step = gain - 1;
  if (step < 32) return {3, 2 * gain + 62};
  if (step < 64) return {7, gain + 31};
  if (step < 96) return {35, step};
  if (step < 128) return {39, gain - 33};
  if (step < 160) return {47, gain - 65};
  if (step < 192) return {63, gain - 97};
  return {63, 63};
}

bool write_gain(CameraContext& camera, int32_t gain) {
  const GainCode code = gain_code(static_cast<uint32_t>(gain));
  write_held_gain(camera, code.coarse, code.fine);
  return true;
}

/// The loop stays in the lowest coarse range.
bool write_loop_gain(CameraContext& camera, int32_t gain) {
  return write_held_gain(camera, 3, static_cast<uint32_t>(2 * gain + 64) & 0xFF);
}

constexpr GainCode digital_gain_code(uint32_t level) {
  if (level >= 15) return {15, 128};
  if (level >= 8) return {7, (level + 1) << 4};
  if (level >= 4 && level <= 6) return {3, 31 * level + 35};
  if (level == 2) return {1, 192};
  return {level, 128};
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  const GainCode code = digital_gain_code(static_cast<uint32_t>(level));
  sccb_write_all(camera, {{kUpdateHold, kHoldBegin},
                          {kCoarseDigitalGain, code.coarse},
                          {kFineDigitalGain, code.fine},
                          {kUpdateHold, kHoldEnd},
                          {kUpdateHold, kHoldLaunch}});
}

}  // namespace

extern const SensorFamily sensor_0400{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
    .line_timing = line_timing,
    .write_exposure = write_held_exposure,
    .write_gain = write_gain,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_held_loop_exposure,
    .write_loop_gain = write_loop_gain,
    .switch_trigger = switch_held_trigger,
};

}  // namespace kxcam

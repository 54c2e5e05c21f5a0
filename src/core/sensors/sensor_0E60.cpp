// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "core/control/registers.h"
#include "core/control/trigger.h"
#include "core/registry/camera_context.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/sensor_family.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0E60, 0x0E6B};
constexpr uint32_t kLargerMids[] = {0x0E70, 0x0E7B};

enum SensorRegister : uint32_t {
  kLineAndFrame = 0x04,  ///< reads as the line length in 16 clocks, takes the frame's blanking
  kSequence = 0x0B,
  kShutter = 0x0E,
  kGain = 0x11,
};
constexpr uint32_t kLeastBlanking = 112;
constexpr uint32_t kBlankingAccess = 0xF000;
constexpr uint32_t kFreeRunning = 0x06;
constexpr uint32_t kTriggered = 0x104;
constexpr uint32_t kFreeRunningWithStrobe = 0x46;
constexpr uint32_t kTriggeredWithStrobe = 0x144;

/// The register tells the line of the present readout, whatever size is asked about.
std::optional<int32_t> extra_line_width(CameraContext& camera, ReadoutSize /*size*/) {
  const std::optional<uint32_t> length = sccb_read(camera, kLineAndFrame);
  if (!length) return std::nullopt;
  const FrameGeometry geometry = camera.stream.geometry;
  return static_cast<int32_t>(*length << 4) - geometry.frame_width;
}

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  return clocked_line(camera, by_link(camera, 114, 28.5), line_length);
}

std::optional<LineTiming> larger_line_timing(CameraContext& camera, int32_t line_length) {
  return clocked_line(camera, by_link(camera, 132, 34), line_length);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  constexpr uint32_t kUnity = 0x080;
  constexpr uint32_t kAmplified = 0x100;
  const auto code = static_cast<uint32_t>(std::min(gain + 120, 255));
  return sccb_write(camera, kGain, gain < 8 ? kUnity : kAmplified | code);
}

void write_delay(CameraContext& camera, int32_t lines) {
  sccb_write(camera, kLineAndFrame, (static_cast<uint32_t>(lines) + kLeastBlanking) | kBlankingAccess);
}

bool switch_trigger(CameraContext& camera, bool triggered) {
  sccb_write(camera, kSequence, triggered ? kTriggered : kFreeRunning);
  return true;
}

/// The monochrome sensor puts its strobe on the line as soon as it is asked for either way.
bool switch_strobe(CameraContext& camera, bool on) {
  if (!camera.model().monochrome()) {
    write_bridge_strobe(camera, on);
  } else {
    sccb_write(camera, kSequence, is_triggered(camera) ? kTriggeredWithStrobe : kFreeRunningWithStrobe);
  }
  return true;
}

constexpr SensorFamily kFamilies[] = {
    {
        .mids = kMids,
        .strobe_line = true,
        .extra_line_width = extra_line_width,
        .line_timing = line_timing,
        .write_exposure = regardless<write_value<kShutter>>,
        .write_gain = regardless<write_gain>,
        .write_loop_exposure = write_value<kShutter>,
        .write_loop_gain = write_gain,
        .write_delay = write_delay,
        .switch_trigger = switch_trigger,
        .switch_strobe = switch_strobe,
    },
    {
        .mids = kLargerMids,
        .extra_line_width = extra_line_width,
        .line_timing = larger_line_timing,
        .write_exposure = regardless<write_value<kShutter>>,
        .write_gain = regardless<write_gain>,
        .write_loop_exposure = write_value<kShutter>,
        .write_loop_gain = write_gain,
        .write_delay = write_delay,
        .switch_trigger = switch_trigger,
    },
};

}  // namespace

extern const SensorGeneration sensors_0E60 = kFamilies;

}  // namespace kxcam

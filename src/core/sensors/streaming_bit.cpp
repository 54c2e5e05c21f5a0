// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>

#include "core/control/registers.h"
#include "core/control/trigger.h"
#include "core/registry/camera_context.h"
#include "core/sensors/line_clock.h"
#include "core/sensors/sensor_family.h"

// Sensors of registers 0x3000 and up that stream, or wait, by bits of their reset register.

namespace kxcam {

namespace {

enum SensorRegister : uint32_t {
  kFrameLines = 0x0340,
  kFrameLength = 0x300A,
  kLineLength = 0x300C,
  kShutterLines = 0x3012,
  kResetRegister = 0x301A,
  kFlash = 0x3046,
  kGlobalGain = 0x305E,
  kAnalogueGain = 0x3060,
  kDigitalTest = 0x30B0,
};
constexpr uint32_t kStreaming = 0x4;  ///< bit of kResetRegister

/// Horizontal blanking: the register counts the whole line, in pixel clocks or (shifted) in halves of them.
template <int kShift>
std::optional<int32_t> extra_line_width(CameraContext& camera, ReadoutSize size) {
  const std::optional<uint32_t> length = sccb_read(camera, kLineLength);
  if (!length) return std::nullopt;
  return static_cast<int32_t>(*length >> kShift) - size.width;
}
constexpr auto blanking_in_clocks = extra_line_width<0>;
constexpr auto blanking_in_half_clocks = extra_line_width<1>;

uint32_t frame_height(const CameraContext& camera) {
  const FrameGeometry geometry = camera.stream.geometry;
  return geometry.frame_height;
}

/// Lines of a frame: the picture's, the least blanking and the delay.
template <uint32_t kLeastBlanking>
void write_delay(CameraContext& camera, int32_t lines) {
  sccb_write(camera, kFrameLength, frame_height(camera) + static_cast<uint32_t>(lines) + kLeastBlanking);
}

/// The sensor stops streaming while the bridge waits for the trigger.
bool switch_trigger(CameraContext& camera, bool triggered) {
  return switch_mode_bits(camera, kResetRegister, kStreaming, !triggered) &&
         request_trigger_mode(camera, triggered);
}

namespace sensor_0120 {

constexpr uint32_t kMids[] = {0x0120, 0x012B};

void write_advanced_gain(CameraContext& camera, int32_t level) {
  constexpr uint32_t kColumnGainMask = 0x30;
  const std::optional<uint32_t> present = sccb_read(camera, kDigitalTest);
  if (!present) return;
  const auto column_gain = static_cast<uint32_t>(std::min(level, 3)) << 4;
  sccb_write(camera, kDigitalTest, (*present & ~kColumnGainMask) | column_gain);
}

bool switch_trigger(CameraContext& camera, bool triggered) {
  sccb_write(camera, kResetRegister, triggered ? 0x1D8 : 0x1DC);
  return true;
}

bool switch_strobe(CameraContext& camera, bool on) {
  constexpr uint32_t kEnable = 0x100;
  return switch_mode_bits(camera, kFlash, kEnable, on);
}

bool switch_strobe_polarity(CameraContext& camera, bool active_high) {
  constexpr uint32_t kPolarity = 0x80;
  return switch_polarity_bit(camera, kFlash, kPolarity, active_high);
}

constexpr SensorFamily family{
    .mids = kMids,
    .isp_registers = false,
    .strobe_line = true,
    .extra_line_width = blanking_in_clocks,
    .line_timing = bridge_clocked_line<100, 50>,
    .write_exposure = regardless<write_value<kShutterLines>>,
    .write_gain = regardless<write_value<kGlobalGain>>,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_value<kGlobalGain>,
    .switch_trigger = switch_trigger,
    .switch_strobe = switch_strobe,
    .switch_strobe_polarity = switch_strobe_polarity,
};

}  // namespace sensor_0120

namespace sensor_0180 {

constexpr uint32_t kMids[] = {0x0180, 0x018B};
constexpr uint32_t kLeastBlanking = 116;

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  constexpr LineClock kPixelClock{.hz = 180e6, .period_ms = 5.555555555555556e-6};
  return clocked_line(camera, kPixelClock, line_length);
}

/// The frame grows with the exposure only once that has used up the blanking.
bool write_exposure(CameraContext& camera, int32_t lines) {
  const auto e = static_cast<uint32_t>(lines);
  const uint32_t least_frame = frame_height(camera) + kLeastBlanking;
  const uint32_t frame = e >= least_frame ? e + kLeastBlanking : least_frame;
  sccb_write_all(camera, {{kShutterLines, e}, {kFrameLines, frame}});
  return true;
}

constexpr uint32_t gain_code(int32_t gain) {
  constexpr auto code = [](uint32_t digital, uint32_t coarse) { return coarse << 7 | digital * 8; };
  const auto g = static_cast<uint32_t>(gain);
  if (g < 32) return code(g >> 1, 64);
  if (g < 64) return code(g >> 2, 127);
  if (g < 128) return code(g >> 3, 255);
  return code(g >> 4, 511);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  return sccb_write(camera, kGlobalGain, gain_code(gain));
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  constexpr uint32_t kColumnGainMask = 0x7;
  const std::optional<uint32_t> present = sccb_read(camera, kGlobalGain);
  if (!present) return;
  const auto column_gain = static_cast<uint32_t>(std::min(level, 4));
  sccb_write(camera, kGlobalGain, (*present & 0xFFFF & ~kColumnGainMask) | column_gain);
}

constexpr SensorFamily family{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 32},
    .isp_registers = false,
    .extra_line_width = blanking_in_half_clocks,
    .line_timing = line_timing,
    .write_exposure = write_exposure,
    .write_gain = regardless<write_gain>,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_gain,
    .write_delay = write_delay<kLeastBlanking>,
    .switch_trigger = switch_trigger,
};

}  // namespace sensor_0180

namespace sensor_0200 {

constexpr uint32_t kMids[] = {0x0200, 0x020B};

/// The loop stays in the lower quarter of the setter's range.
template <int32_t kCodesPerStep>
bool write_gain(CameraContext& camera, int32_t gain) {
  return write_value<kGlobalGain>(camera, kCodesPerStep * gain);
}

void write_advanced_gain(CameraContext& camera, int32_t level) {
  constexpr std::array<uint32_t, 5> kCodes = {11, 27, 43, 59, 75};
  constexpr uint32_t kHighest = 95;
  const auto i = static_cast<size_t>(level);
  sccb_write(camera, kAnalogueGain, i < kCodes.size() ? kCodes[i] : kHighest);
}

bool switch_trigger(CameraContext& camera, bool triggered) {
  constexpr uint32_t kForcedStreaming = 0x104;
  return triggered ? switch_mode_bits(camera, kResetRegister, kStreaming, false)
                   : switch_mode_bits(camera, kResetRegister, kForcedStreaming, true);
}

constexpr SensorFamily family{
    .mids = kMids,
    .extra_line_width = blanking_in_clocks,
    .line_timing = high_speed_line,
    .write_exposure = regardless<write_value<kShutterLines>>,
    .write_gain = regardless<write_gain<8>>,
    .write_advanced_gain = write_advanced_gain,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_gain<2>,
    .switch_trigger = switch_trigger,
};

}  // namespace sensor_0200

namespace sensor_0510 {

constexpr uint32_t kMids[] = {0x0510, 0x051B};

std::optional<LineTiming> line_timing(CameraContext& camera, int32_t line_length) {
  constexpr LineClock kPixelClock{.hz = 200e6, .period_ms = 5e-6};
  return clocked_line(camera, kPixelClock, line_length);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  const auto g = static_cast<uint32_t>(gain);
  return sccb_write(camera, kGlobalGain, g < 33 ? 96U << 7 | (2 * (g - 1)) : (g + 64) << 7 | 64);
}

/// The loop uses an analogue range of its own, with finer digital steps.
bool write_loop_gain(CameraContext& camera, int32_t gain) {
  const auto g = static_cast<uint32_t>(gain);
  return sccb_write(camera, kGlobalGain, g > 32 ? (g + 42) << 7 | 32 : 74U << 7 | (g - 1));
}

constexpr SensorFamily family{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 32},
    .isp_registers = false,
    .extra_line_width = blanking_in_clocks,
    .line_timing = line_timing,
    .write_exposure = regardless<write_value<kShutterLines>>,
    .write_gain = regardless<write_gain>,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_loop_gain,
    .write_delay = write_delay<100>,
    .switch_trigger = switch_trigger,
};

}  // namespace sensor_0510

/// Sensors whose register 0x305E holds a column gain and a multiplier.
namespace column_gain {

constexpr uint32_t k0A00Mids[] = {0x0A00, 0x0A0B};
constexpr uint32_t k0E00Mids[] = {0x0E00};

std::optional<LineTiming> line_timing_0A00(CameraContext& camera, int32_t line_length) {
  const double clock =
      camera.model().newer_bridge() ? by_link(camera, 80, 40) : by_high_speed(camera, 42.6667, 24);
  return clocked_line(camera, clock, line_length);
}

/// Three ranges, the last of which ends at 7268.
constexpr uint32_t gain_code(int32_t gain) {
  constexpr int32_t kLast = 7268;
  if (gain < 16) return static_cast<uint32_t>(4 * gain + 4160);
  if (gain < 32) return static_cast<uint32_t>(4 * gain + 6144);
  const int32_t code = 2 * gain + 7168;
  return static_cast<uint32_t>(gain < 64 && code < kLast ? code : kLast);
}

/// The exposure loop goes beyond the range that the setter keeps to.
constexpr uint32_t loop_gain_code(int32_t gain) {
  if (gain <= 15) return static_cast<uint32_t>(4 * gain + 4160);
  if (gain <= 31) return static_cast<uint32_t>(4 * gain + 6144);
  if (gain <= 63) return static_cast<uint32_t>(2 * gain + 7168);
  if (gain <= 127) return static_cast<uint32_t>(gain + 7296);
  return static_cast<uint32_t>(((gain - 128) >> 1) + 7616);
}

bool write_gain(CameraContext& camera, int32_t gain) {
  return sccb_write(camera, kGlobalGain, gain_code(gain));
}

bool write_loop_gain(CameraContext& camera, int32_t gain) {
  return sccb_write(camera, kGlobalGain, loop_gain_code(gain));
}

constexpr SensorFamily family_0A00{
    .mids = k0A00Mids,
    .isp_registers = false,
    .extra_line_width = blanking_in_half_clocks,
    .line_timing = line_timing_0A00,
    .write_exposure = regardless<write_value<kShutterLines>>,
    .write_gain = regardless<write_gain>,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_loop_gain,
    .write_delay = write_delay<143>,
    .switch_trigger = switch_trigger,
};

constexpr SensorFamily family_0E00{
    .mids = k0E00Mids,
    .isp_registers = false,
    .settling_time_ms = 300,
    .extra_line_width = blanking_in_clocks,
    .line_timing = bridge_clocked_line<86, 43>,
    .write_exposure = regardless<write_value<kShutterLines>>,
    .write_gain = regardless<write_gain>,
    .write_loop_exposure = write_value<kShutterLines>,
    .write_loop_gain = write_loop_gain,
    .write_delay = write_delay<146>,
    .switch_trigger = request_trigger_mode,
};

}  // namespace column_gain

constexpr SensorFamily kFamilies[] = {
    sensor_0120::family, sensor_0180::family,      sensor_0200::family,
    sensor_0510::family, column_gain::family_0A00, column_gain::family_0E00,
};

}  // namespace

extern const SensorGeneration streaming_bit_sensors = kFamilies;

}  // namespace kxcam

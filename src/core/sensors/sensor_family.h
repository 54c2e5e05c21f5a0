// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include <libusb.h>

namespace kxcam {

struct CameraContext;

/// Units in which a region of interest can be placed on a sensor, in pixels.
struct RoiAlignment {
  int32_t x_and_width = 2;
  int32_t y_and_height = 2;
};

/// Pixels that the sensor reads out.
struct ReadoutSize {
  int32_t width;
  int32_t height;
};

struct LineTiming {
  double line_time_ms;    ///< duration of one line
  int32_t flicker_lines;  ///< lines in one half-period of the mains
};

/// What the models of one sensor family share: the recipe by which each setting reaches the sensor. Families
/// that share steps stand in one file of this folder; code elsewhere asks the family and never compares
/// sensor ids. A null step is one the sensor does not have, and counts as done.
///
/// Steps are given values in range. Those that return bool return the outcome of the calling setter, which
/// is not always that of every request.
struct SensorFamily {
  /// Sensor ids (`MID`) of the family, colour and monochrome.
  std::span<const uint32_t> mids;
  RoiAlignment roi_alignment{};
  /// The bridge in front of the sensor has image-processor registers.
  bool isp_registers = true;
  /// The bridge reads out single lines on a trigger and takes the line settings.
  bool line_scan = false;
  /// The bridge can run an exposure loop of its own, whatever its capability word says.
  bool bridge_auto_exposure = false;
  /// The sensor drives a strobe line itself.
  bool strobe_line = false;
  /// The bridges of the monochrome models correct the fixed pattern, whatever their firmware.
  bool mono_keeps_fixed_pattern = false;
  /// Lines beyond which an exposure grows no longer; 0: no limit is known.
  int32_t longest_exposure = 0;
  /// Frames are garbage for this many milliseconds after the reader has started.
  int settling_time_ms = 0;
  /// Pause before the pulse of a software trigger, in milliseconds.
  int trigger_wait_ms = 0;
  /// What firmware up to 0x8000 needs before the sensor can be used.
  void (*wake_sensor)(libusb_device_handle* handle, int32_t firmware_version) = nullptr;

  /// Horizontal blanking of that readout in pixel clocks; nothing when the sensor does not answer. Null: 0.
  std::optional<int32_t> (*extra_line_width)(CameraContext& camera, ReadoutSize size) = nullptr;
  /// Timing of a line of that many pixel clocks, blanking included; nothing when the sensor reported no
  /// plausible clock or length. Null: nothing is known of the sensor's timing.
  std::optional<LineTiming> (*line_timing)(CameraContext& camera, int32_t line_length) = nullptr;

  /// Exposure in lines, 1 and up; `exposure` holds it already.
  bool (*write_exposure)(CameraContext& camera, int32_t lines) = nullptr;
  /// Gain, 1..255.
  bool (*write_gain)(CameraContext& camera, int32_t gain) = nullptr;
  /// Advanced gain, 0..255.
  void (*write_advanced_gain)(CameraContext& camera, int32_t level) = nullptr;
  /// The auto-exposure loop's own writes: exposure 1..4000, gain 1..255. On several sensors the loop moves
  /// through a gain range narrower than the setter's, so these are no copies of the steps above.
  bool (*write_loop_exposure)(CameraContext& camera, int32_t lines) = nullptr;
  bool (*write_loop_gain)(CameraContext& camera, int32_t gain) = nullptr;
  /// What the sensor needs before automatic gain is switched on or off.
  void (*prepare_auto_gain)(CameraContext& camera) = nullptr;

  /// Lines of extra vertical blanking, 0 and up.
  void (*write_delay)(CameraContext& camera, int32_t lines) = nullptr;
  void (*switch_global_reset)(CameraContext& camera, bool on) = nullptr;

  /// Between free run and trigger mode; `snap_mode` still holds the old mode. NOT_SUPPORTED when the sensor
  /// does not answer, READ_REQUEST when the bridge refuses. Null: the sensor cannot be triggered.
  bool (*switch_trigger)(CameraContext& camera, bool triggered) = nullptr;
  /// The sensor's own strobe line, and its polarity (`active_high` or low). NOT_SUPPORTED when the sensor
  /// does not answer. Null: the line, if any, is the trigger unit's.
  bool (*switch_strobe)(CameraContext& camera, bool on) = nullptr;
  bool (*switch_strobe_polarity)(CameraContext& camera, bool active_high) = nullptr;
};

/// A step whose outcome its setter does not report.
template <bool (*kStep)(CameraContext&, int32_t)>
bool regardless(CameraContext& camera, int32_t value) {
  kStep(camera, value);
  return true;
}

/// The families of one file.
using SensorGeneration = std::span<const SensorFamily>;

/// The family of a sensor id; sensors of no family get one with the defaults above.
const SensorFamily& find_sensor_family(uint32_t mid);

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

#include <libusb.h>

namespace kxcam {

/// Units in which a region of interest can be placed on a sensor, in pixels.
struct RoiAlignment {
  int32_t x_and_width = 2;
  int32_t y_and_height = 2;
};

/// What the models of one sensor family share. A family is one file in sensors/ and one entry in
/// sensor_family.cpp; code elsewhere asks the family and never compares sensor ids.
struct SensorFamily {
  /// Sensor ids (`MID`) of the family, colour and monochrome.
  std::span<const uint32_t> mids;
  RoiAlignment roi_alignment{};
  /// The bridge in front of the sensor has image-processor registers.
  bool isp_registers = true;
  /// The bridge reads out single lines on a trigger and takes the line settings.
  bool line_scan = false;
  /// The sensor delivers rubbish for so long after the reader has started, in milliseconds.
  int settling_time_ms = 0;
  /// What firmware up to 0x8000 needs before the sensor can be used; null where nothing is.
  void (*wake_sensor)(libusb_device_handle* handle, int32_t firmware_version) = nullptr;
};

/// The family of a sensor id; sensors of no family get one with the defaults above.
const SensorFamily& find_sensor_family(uint32_t mid);

}  // namespace kxcam

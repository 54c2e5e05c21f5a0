// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

#include "sync/shared_value.h"

namespace kxcam {

/// Bits of the switch word `isp_flags`. The bits that switch something off keep a cleared word
/// meaning "everything a camera can do is on".
enum IspFlag : uint16_t {
  kMirrorX = 0x0001,
  kMirrorY = 0x0002,
  kAutoGain = 0x0004,
  kAutoExposure = 0x0008,
  kRotate90 = 0x0010,
  kEnhancement = 0x0020,  ///< also forces the colour matrix
  kAutoWhiteBalance = 0x0040,
  kAntiFlicker50Hz = 0x0080,
  kAntiFlicker60Hz = 0x0100,
  kHighSpeed = 0x0200,
  kDespeckleOff = 0x0400,
  kFixedPatternOff = 0x0800,
  kFrameRateFree = 0x1000,
  kSoftwareExposureAllowed = 0x2000,
  kStrobeOff = 0x4000,
  kGlobalResetOff = 0x8000,
};

/// Row-major 3 x 3 colour matrix; row = output channel R, G, B, column = input R, G, B.
using Ccm = std::array<Relaxed<double>, 9>;

inline constexpr int kSerialNumberLength = 12;
/// Serial number as it is handed out: its characters and zeros.
using SerialRecord = std::array<char, 16>;

/// The settings of a camera as the user sees them, with the values a fresh camera has. A context
/// holds one as its live settings.
struct CameraParameter {
  SerialRecord serial_number{};  ///< written once, at open

  Relaxed<double> gamma = 1.0;
  Relaxed<double> contrast = 1.0;
  Relaxed<double> saturation = 1.0;
  Relaxed<int32_t> gain = 16;
  Relaxed<int32_t> advanced_gain = 0;
  Relaxed<int32_t> exposure = 5;  ///< sensor lines
  Relaxed<int32_t> black_level = 0;
  Relaxed<int32_t> ae_target = 70;
  Relaxed<int32_t> delay = 0;       ///< lines of extra vertical blanking
  Relaxed<int32_t> time_out = 500;  ///< milliseconds
  Relaxed<uint8_t> interpolation = 0;
  Relaxed<uint8_t> resolution_mode = 1;
  Relaxed<uint16_t> line_height = 2;
  Relaxed<uint8_t> line_trigger = 0;
  Relaxed<uint16_t> snap_num = 1;
  Relaxed<uint8_t> image_format = 0;
  Relaxed<uint8_t> resolution_index = 0;
  Relaxed<uint8_t> enable_roi = 0;
  Relaxed<uint16_t> roi_offset_x = 0;  ///< the region as the application gave it, in the picture's view
  Relaxed<uint16_t> roi_offset_y = 0;
  Relaxed<uint16_t> roi_width = 0;
  Relaxed<uint16_t> roi_height = 0;
  Relaxed<double> wb_gain_r = 1.0;
  Relaxed<double> wb_gain_g = 1.0;
  Relaxed<double> wb_gain_b = 1.0;
  Ccm enhanced_ccm{};
  Ccm default_ccm{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
  Relaxed<uint16_t> isp_flags = 0;  ///< IspFlag bits
  Relaxed<uint8_t> snap_mode = 1;   ///< 2: triggered
  Relaxed<double> frame_rate = 10.0;
  Relaxed<int32_t> trigger_polarity = 1;
  Relaxed<uint8_t> strobe_polarity = 1;
  Relaxed<int32_t> trigger_delay = 0;
  Relaxed<int32_t> strobe_delay = 0;
  Relaxed<int32_t> strobe_duration = 0;
  Relaxed<int32_t> debouncer_time = 0;
};

}  // namespace kxcam

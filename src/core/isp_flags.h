// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

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

}  // namespace kxcam

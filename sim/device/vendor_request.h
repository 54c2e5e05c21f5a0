// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxsim {

/// Vendor requests that the bridge firmware executes (bRequest of the control transfer).
enum VendorRequest : uint8_t {
  kFx2Memory = 0xA0,
  kFirmwareCommand = 0xA1,
  kStartStream = 0xA2,
  kStopStream = 0xA3,
  kSetGpio = 0xA4,
  kGetGpio = 0xA5,
  kSensorWrite = 0xA6,
  kSensorRead = 0xA7,
  kFeatures = 0xA8,
  kTrueProductId = 0xA9,
  kParameterWrite = 0xAA,
  kResolutionQuery = 0xAB,
  kResolutionSelect = 0xAC,
  kRegionOfInterest = 0xAD,
  kEepromRead = 0xB0,
  kEepromWrite = 0xB1,
  kHighSpeed = 0xB2,
  kFirmwareVersion = 0xB3,
  kTriggerMode = 0xB4,
  kLineSettings = 0xB5,
  kIspWrite = 0xB6,
  kIspRead = 0xB7,
  kFlashWrite = 0xC2,
  kFlashRead = 0xC3,
  kFlashPrepare = 0xC4,
};

}  // namespace kxsim

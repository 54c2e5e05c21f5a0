// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

// The bridge's side of the wire: everything that it can be asked for, once each.
namespace kxcam::bridge {

/// Vendor requests. "In" ones are answered with up to ten bytes; the rest carry no data unless it says so.
enum Request : uint8_t {
  kInternalRam = 0xA0,          ///< of the bridge's processor, before it runs a firmware
  kPrepareSensor0300 = 0xA1,    ///< old firmware only, once at open
  kStartStream = 0xA2,          ///< in; newer bridges
  kStopStream = 0xA3,           ///< in; newer bridges
  kSetGpio = 0xA4,              ///< in: index lines, value levels
  kGetGpio = 0xA5,              ///< in
  kSensorWrite = 0xA6,          ///< index register
  kSensorRead = 0xA7,           ///< in: index register
  kFeatureBits = 0xA8,          ///< in: 1 byte, or 2 little-endian
  kTrueProductId = 0xA9,        ///< in: 2 bytes, little-endian
  kParameterWrite = 0xAA,       ///< index parameter
  kGeometryInquiry = 0xAB,      ///< in: index a GeometryIndex
  kSelectGeometry = 0xAC,       ///< in: index kPreset
  kRegionOfInterest = 0xAD,     ///< 4 bytes of size out; the same index and value in, to confirm
  kEepromRead = 0xB0,           ///< in: index address
  kEepromWrite = 0xB1,          ///< index address, value byte
  kHighSpeedReadout = 0xB2,     ///< in: value 0 or 1
  kFirmwareVersion = 0xB3,      ///< in: 4 bytes, big-endian
  kTriggerMode = 0xB4,          ///< in: value 1 waits for triggers
  kLineScan = 0xB5,             ///< in: index a LineScanIndex
  kBridgeRegisterWrite = 0xB6,  ///< index register
  kBridgeRegisterRead = 0xB7,   ///< in: index register
  kFlashWrite = 0xC2,    ///< index page of 256 bytes, up to 4096 bytes out; value 1 erases the firmware
  kFlashRead = 0xC3,     ///< in: index page, up to 4096 bytes
  kFlashPrepare = 0xC4,  ///< index area, value 1 erases it
};

enum GeometryIndex : uint16_t {
  kPresetCount = 1,
  kLargestSize = 2,
  kPreset = 3,
  kReadoutMode = 4,
};

enum LineScanIndex : uint16_t {
  kLineHeight = 1,
  kLineTrigger = 3,
  kLinesPerTrigger = 4,
};

/// Registers of the bridge's image processor.
enum Register : uint32_t {
  kVersion = 0x00,
  kRestart = 0x01,
  kTriggerPolarity = 0x03,
  kStrobeLine = 0x04,
  kFramesPerTrigger = 0x05,
  kDebouncerTime = 0x06,
  kFixedRate = 0x08,
  kTenthsPerSecond = 0x09,
  kShutterLow = 0x0A,
  kShutterHigh = 0x0B,
  kTriggerDelay = 0x0C,
  kStrobeDelay = 0x0D,
  kStrobeDuration = 0x0E,
  kFrameLengthLow = 0x14,
  kPresentFrameLength = 0x15,
  kAutoExposureControl = 0x19,
  kAutoExposureTarget = 0x1A,
  kGlobalReset = 0x1C,
  kFrameLengthHigh = 0x1E,
};

}  // namespace kxcam::bridge

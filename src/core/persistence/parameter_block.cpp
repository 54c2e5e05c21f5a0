// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/parameter_block.h"

#include <algorithm>
#include <array>

#include "core/control/trigger.h"
#include "core/persistence/eeprom.h"
#include "isp/saturating_cast.h"

namespace kxcam {

namespace {

constexpr std::array kIdentity = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};

uint32_t offset_of(size_t element) {
  return static_cast<uint32_t>(2 * element);
}

bool is_plausible(std::span<const double, 9> ccm) {
  constexpr std::array<size_t, 3> kDiagonal = {0, 4, 8};
  return std::ranges::all_of(kDiagonal, [&](size_t i) { return ccm[i] >= 0.1 && ccm[i] <= 5.0; });
}

}  // namespace

bool WriteCcm(int camera, std::span<const double, 9> ccm) {
  EepromWriter block(camera, kMatrixAddress);
  for (size_t i = 0; i < ccm.size(); ++i) {
    block.word(offset_of(i), static_cast<uint16_t>(saturating_cast<int16_t>(ccm[i] * 100)));
  }
  return block.ok();
}

bool ReadCcm(int camera, std::span<double, 9> ccm) {
  EepromReader block(camera, kMatrixAddress);
  for (size_t i = 0; i < ccm.size(); ++i) ccm[i] = static_cast<int16_t>(block.word(offset_of(i))) * 0.01;
  if (!block.ok()) return false;
  if (!is_plausible(ccm)) std::ranges::copy(kIdentity, ccm.begin());
  return true;
}

namespace {

constexpr uint32_t kBlockSize = 64;
constexpr int kLastSlot = 3;

enum Offset : uint32_t {
  kGain = 0x00,
  kExposure = 0x02,
  kGamma = 0x04,
  kContrast = 0x06,
  kIspFlags = 0x08,
  kWbGainR = 0x0A,
  kWbGainG = 0x0C,
  kWbGainB = 0x0E,
  kBlackLevel = 0x10,
  kAeTarget = 0x12,
  kSaturation = 0x14,
  kInterpolation = 0x16,
  kResolutionMode = 0x17,
  kDelay = 0x18,
  kAdvancedGain = 0x1A,
  kImageFormat = 0x1B,
  kResolutionIndex = 0x1C,
  kEnableRoi = 0x1D,
  kRoiOffsetX = 0x1E,
  kRoiOffsetY = 0x20,
  kRoiWidth = 0x22,
  kRoiHeight = 0x24,
  kTimeOut = 0x26,
  kSnapMode = 0x28,
  kLineHeight = 0x29,
  kReserved = 0x2B,
  kLineTrigger = 0x2D,
  kSnapNum = 0x2E,
  kFrameRate = 0x30,
  kTriggerPolarity = 0x32,
  kStrobePolarity = 0x33,
  kTriggerDelay = 0x34,
  kStrobeDelay = 0x36,
  kStrobeDuration = 0x38,
  kDebouncerTime = 0x3A,
  kExposureHigh = 0x3E,
};

constexpr uint16_t kErasedWord = 0xFFFF;
constexpr uint8_t kErasedByte = 0xFF;

uint32_t block_of(int slot) {
  const bool own_block = slot >= 1 && slot <= kLastSlot;
  return kParameterAddress + (own_block ? kBlockSize * static_cast<uint32_t>(slot) : 0);
}

// Stored forms of the values that are not stored as they are.

uint16_t scaled(double value, double scale) {
  return saturating_cast<uint16_t>(value * scale);
}

uint16_t low_word(int32_t value) {
  return static_cast<uint16_t>(value);
}

uint16_t in_tens(int32_t value) {
  return low_word(value / 10);
}

// And back, with what a block that was never written is to mean.

double from_hundredths(uint16_t raw) {
  return raw * 0.01;
}

int32_t to_time_out(uint16_t raw) {
  constexpr uint16_t kShortest = 500;
  constexpr uint16_t kLongest = 50000;
  return raw >= kShortest && raw != kErasedWord ? std::min(raw, kLongest) : kShortest;
}

double to_frame_rate(uint16_t raw) {
  constexpr double kDefault = 10.0;
  return raw == kErasedWord ? kDefault : raw * 0.1;
}

int32_t from_tens(uint16_t raw) {
  return raw == kErasedWord ? 0 : raw * 10;
}

int32_t to_exposure(uint16_t low, uint8_t high) {
  return high == kErasedByte ? low : low | high << 16;
}

}  // namespace

bool SaveParameter(int camera, const CameraParameter& record, int slot) {
  EepromWriter block(camera, block_of(slot));
  block.word(kGain, low_word(record.gain));
  block.word(kExposure, low_word(record.exposure));
  block.word(kGamma, scaled(record.gamma, 100));
  block.word(kContrast, scaled(record.contrast, 100));
  block.word(kIspFlags, record.isp_flags);
  block.word(kWbGainR, scaled(record.wb_gain_r, 100));
  block.word(kWbGainG, scaled(record.wb_gain_g, 100));
  block.word(kWbGainB, scaled(record.wb_gain_b, 100));
  block.word(kBlackLevel, low_word(record.black_level));
  block.word(kAeTarget, low_word(record.ae_target));
  block.word(kSaturation, scaled(record.saturation, 100));
  block.byte(kInterpolation, record.interpolation);
  block.byte(kResolutionMode, record.resolution_mode);
  block.word(kDelay, low_word(record.delay));
  block.byte(kAdvancedGain, static_cast<uint8_t>(record.advanced_gain));
  block.byte(kImageFormat, record.image_format);
  block.byte(kResolutionIndex, record.resolution_index);
  block.byte(kEnableRoi, record.enable_roi);
  block.word(kRoiOffsetX, record.roi_offset_x);
  block.word(kRoiOffsetY, record.roi_offset_y);
  block.word(kRoiWidth, record.roi_width);
  block.word(kRoiHeight, record.roi_height);
  block.word(kTimeOut, low_word(record.time_out));
  block.byte(kSnapMode, record.snap_mode);
  block.word(kLineHeight, record.line_height);
  block.word(kReserved, 0);
  block.byte(kLineTrigger, record.line_trigger);
  block.word(kSnapNum, record.snap_num);
  block.word(kFrameRate, scaled(record.frame_rate, 10));
  if (block.ok()) block.byte(kTriggerPolarity, static_cast<uint8_t>(record.trigger_polarity));
  if (block.ok()) block.byte(kStrobePolarity, record.strobe_polarity);
  block.word(kTriggerDelay, in_tens(record.trigger_delay));
  block.word(kStrobeDelay, in_tens(record.strobe_delay));
  block.word(kStrobeDuration, in_tens(record.strobe_duration));
  block.word(kDebouncerTime, low_word(record.debouncer_time));
  const bool saved = block.ok();
  block.byte(kExposureHigh, static_cast<uint8_t>(record.exposure >> 16));
  return saved;
}

bool LoadParameter(int camera, CameraParameter& record, int slot) {
  EepromReader block(camera, block_of(slot));
  record.gain = block.word(kGain);
  const uint16_t exposure = block.word(kExposure);
  record.gamma = from_hundredths(block.word(kGamma));
  record.contrast = from_hundredths(block.word(kContrast));
  record.isp_flags = block.word(kIspFlags);
  record.wb_gain_r = from_hundredths(block.word(kWbGainR));
  record.wb_gain_g = from_hundredths(block.word(kWbGainG));
  record.wb_gain_b = from_hundredths(block.word(kWbGainB));
  record.black_level = block.word(kBlackLevel);
  record.ae_target = std::max(block.word(kAeTarget) - record.black_level, 0);
  record.saturation = from_hundredths(block.word(kSaturation));
  record.interpolation = block.byte(kInterpolation);
  record.resolution_mode = block.byte(kResolutionMode);
  record.delay = block.word(kDelay);
  record.advanced_gain = block.byte(kAdvancedGain);
  record.image_format = block.byte(kImageFormat);
  record.resolution_index = block.byte(kResolutionIndex);
  record.enable_roi = block.byte(kEnableRoi) == 1 ? 1 : 0;
  record.roi_offset_x = block.word(kRoiOffsetX);
  record.roi_offset_y = block.word(kRoiOffsetY);
  record.roi_width = block.word(kRoiWidth);
  record.roi_height = block.word(kRoiHeight);
  record.time_out = to_time_out(block.word(kTimeOut));
  record.snap_mode = block.byte(kSnapMode) == kSnapTriggered ? kSnapTriggered : kSnapTimed;
  record.line_height = std::max<uint16_t>(block.word(kLineHeight), 1);
  block.word(kReserved);
  record.line_trigger = block.byte(kLineTrigger);
  const uint16_t snap_num = block.word(kSnapNum);
  record.snap_num = snap_num == kErasedWord ? uint16_t{1} : snap_num;
  record.frame_rate = to_frame_rate(block.word(kFrameRate));
  if (block.ok()) record.trigger_polarity = block.byte(kTriggerPolarity);
  if (block.ok()) record.strobe_polarity = block.byte(kStrobePolarity);
  const bool loaded = block.ok();
  record.trigger_delay = from_tens(block.word(kTriggerDelay));
  record.strobe_delay = from_tens(block.word(kStrobeDelay));
  record.strobe_duration = from_tens(block.word(kStrobeDuration));
  const uint16_t debouncer_time = block.word(kDebouncerTime);
  record.debouncer_time = debouncer_time == kErasedWord ? 0 : debouncer_time;
  record.exposure = to_exposure(exposure, block.byte(kExposureHigh));
  return loaded;
}

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#include "settings.h"

#include <array>

#include "kxcam/kxcam.h"

namespace kxcam::soak {

namespace {

constexpr int kUserDataBytes = 63;
constexpr int kLutEntries = 4096;

template <auto Function, int First, int Last>
uint32_t set_number(int camera, Random& random) {
  return Function(camera, random.between(First, Last));
}

template <auto Function>
uint32_t set_switch(int camera, Random& random) {
  return Function(camera, random.chance(50));
}

/// Limits in hundredths.
template <auto Function, int First, int Last>
uint32_t set_real(int camera, Random& random) {
  return Function(camera, random.real(First / 100.0, Last / 100.0));
}

template <auto Function, class Value>
uint32_t get(int camera, Random&) {
  Value value{};
  return Function(camera, &value);
}

template <auto Function, class First, class Second>
uint32_t get_two(int camera, Random&) {
  First first{};
  Second second{};
  return Function(camera, &first, &second);
}

uint32_t set_lut(int camera, Random& random) {
  std::array<uint8_t, kLutEntries> table{};
  const int shift = random.between(2, 4);
  for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<uint8_t>(i >> shift);
  return CameraSetLUT(camera, table.data(), random.between(0, kLutEntries));
}

uint32_t get_lut(int camera, Random& random) {
  std::array<uint8_t, kLutEntries> table{};
  int length = random.between(0, kLutEntries);
  return CameraGetLUT(camera, table.data(), &length);
}

uint32_t write_user_data(int camera, Random& random) {
  std::array<char, kUserDataBytes> data{};
  data.fill(static_cast<char>(random.between(0, 255)));
  return CameraWriteUserData(camera, data.data(), random.between(0, kUserDataBytes));
}

uint32_t read_user_data(int camera, Random& random) {
  std::array<char, kUserDataBytes> data{};
  return CameraReadUserData(camera, data.data(), random.between(0, kUserDataBytes));
}

uint32_t read_serial_number(int camera, Random&) {
  std::array<char, 16> serial{};
  return CameraReadSerialNumber(camera, serial.data(), static_cast<int>(serial.size()));
}

uint32_t set_wb_gain(int camera, Random& random) {
  return CameraSetWBGain(camera, random.real(0, 3.1), random.real(0, 3), random.real(0, 3));
}

uint32_t get_wb_gain(int camera, Random&) {
  double r = 0;
  double g = 0;
  double b = 0;
  return CameraGetWBGain(camera, &r, &g, &b);
}

uint32_t set_frame_rate(int camera, Random& random) {
  return CameraSetFrameRate(camera, random.chance(50), random.real(-1, 200));
}

/// Not the line that triggers: shots have a function of their own.
uint32_t set_gpio(int camera, Random& random) {
  return CameraSetGPIO(camera, random.between(0, 255) & ~8, random.between(0, 255));
}

uint32_t get_resolution(int camera, Random& random) {
  int width = 0;
  int height = 0;
  return CameraGetResolution(camera, random.between(0, 3), &width, &height);
}

uint32_t get_buffer_size(int camera, Random& random) {
  int size = 0;
  return CameraGetImageBufferSize(camera, &size, random.between(0, 0x3FF));
}

uint32_t get_name(int camera, Random&) {
  std::array<char, 16> serial{};
  std::array<char, 64> name{};
  return CameraGetName(camera, serial.data(), name.data());
}

uint32_t get_count(int, Random&) {
  int count = 0;
  return CameraGetCount(&count);
}

uint32_t get_last_error(int, Random&) {
  int error = 0;
  return CameraGetLastError(&error);
}

constexpr std::array kSetters = {
    Setting{"CameraSetGamma", set_real<CameraSetGamma, 20, 210>},
    Setting{"CameraSetContrast", set_real<CameraSetContrast, 20, 210>},
    Setting{"CameraSetSaturation", set_real<CameraSetSaturation, -10, 210>},
    Setting{"CameraSetBlackLevel", set_number<CameraSetBlackLevel, -1, 256>},
    Setting{"CameraSetEnhancement", set_switch<CameraSetEnhancement>},
    Setting{"CameraSetLUT", set_lut},
    Setting{"CameraSetInterpolation", set_number<CameraSetInterpolation, 0, 255>},
    Setting{"CameraSetTimeout", set_number<CameraSetTimeout, 0, 1000>},
    Setting{"CameraSetExposure", set_number<CameraSetExposure, 0, 2000>},
    Setting{"CameraSetGain", set_number<CameraSetGain, 0, 256>},
    Setting{"CameraSetAdvancedGain", set_number<CameraSetAdvancedGain, -1, 256>},
    Setting{"CameraSetAEC", set_switch<CameraSetAEC>},
    Setting{"CameraSetAGC", set_switch<CameraSetAGC>},
    Setting{"CameraSetAETarget", set_number<CameraSetAETarget, -1, 256>},
    Setting{"CameraSetAntiFlicker", set_number<CameraSetAntiFlicker, 0, 2>},
    Setting{"CameraSetFrameRate", set_frame_rate},
    Setting{"CameraSetHighspeed", set_switch<CameraSetHighspeed>},
    Setting{"CameraSetGlobalReset", set_switch<CameraSetGlobalReset>, Patience::kFrame},
    Setting{"CameraSetDelay", set_number<CameraSetDelay, -1, 4000>},
    Setting{"CameraSetSnapNum", set_number<CameraSetSnapNum, 0, 4>},
    Setting{"CameraEnableStrobe", set_switch<CameraEnableStrobe>},
    Setting{"CameraSetTriggerPolarity", set_number<CameraSetTriggerPolarity, 0, 1>},
    Setting{"CameraSetStrobePolarity", set_number<CameraSetStrobePolarity, 0, 2>},
    Setting{"CameraSetTriggerDelay", set_number<CameraSetTriggerDelay, -1, 1000>},
    Setting{"CameraSetStrobeDelay", set_number<CameraSetStrobeDelay, -1, 1000>},
    Setting{"CameraSetStrobeDuration", set_number<CameraSetStrobeDuration, -1, 1000>},
    Setting{"CameraSetDebouncerTime", set_number<CameraSetDebouncerTime, -1, 1000>},
    Setting{"CameraSetWBGain", set_wb_gain},
    Setting{"CameraSetAWB", set_switch<CameraSetAWB>},
    Setting{"CameraOnePushWB", [](int camera, Random&) { return CameraOnePushWB(camera); }},
    Setting{"CameraSetDenoise", set_switch<CameraSetDenoise>},
    Setting{"CameraSetFPN", set_switch<CameraSetFPN>},
    Setting{"CameraSetGPIO", set_gpio},
    Setting{"CameraSetResolutionMode", set_number<CameraSetResolutionMode, 0, 3>},
    Setting{"CameraSetLineHeight", set_number<CameraSetLineHeight, 0, 100>},
    Setting{"CameraSetLineTrigger", set_number<CameraSetLineTrigger, 0, 1>},
    Setting{"CameraSetMirrorX", set_switch<CameraSetMirrorX>},
    Setting{"CameraSetMirrorY", set_switch<CameraSetMirrorY>},
    Setting{"CameraReset", [](int camera, Random&) { return CameraReset(camera); }},
    Setting{"CameraWriteUserData", write_user_data, Patience::kWholeCamera},
};

constexpr std::array kGetters = {
    Setting{"CameraGetFirmVersion", get<CameraGetFirmVersion, int>},
    Setting{"CameraGetResolutionCount", get<CameraGetResolutionCount, int>},
    Setting{"CameraGetResolutionMax", get_two<CameraGetResolutionMax, int, int>},
    Setting{"CameraGetResolutionMode", get<CameraGetResolutionMode, int>},
    Setting{"CameraGetResolution", get_resolution},
    Setting{"CameraGetLineHeight", get<CameraGetLineHeight, int>},
    Setting{"CameraGetLineTrigger", get<CameraGetLineTrigger, int>},
    Setting{"CameraGetMirrorX", get<CameraGetMirrorX, bool>},
    Setting{"CameraGetMirrorY", get<CameraGetMirrorY, bool>},
    Setting{"CameraGetImageSize", get_two<CameraGetImageSize, int, int>},
    Setting{"CameraGetImageDepth", get<CameraGetImageDepth, int>},
    Setting{"CameraGetImageBufferSize", get_buffer_size},
    Setting{"CameraGetTimeout", get<CameraGetTimeout, int>},
    Setting{"CameraGetInterpolation", get<CameraGetInterpolation, int>},
    Setting{"CameraGetGamma", get<CameraGetGamma, double>},
    Setting{"CameraGetContrast", get<CameraGetContrast, double>},
    Setting{"CameraGetSaturation", get<CameraGetSaturation, double>},
    Setting{"CameraGetBlackLevel", get<CameraGetBlackLevel, int>},
    Setting{"CameraGetEnhancement", get<CameraGetEnhancement, bool>},
    Setting{"CameraGetLUT", get_lut},
    Setting{"CameraGetExposure", get<CameraGetExposure, int>},
    Setting{"CameraGetExposureUnit", get<CameraGetExposureUnit, double>},
    Setting{"CameraGetExposureTime", get<CameraGetExposureTime, double>},
    Setting{"CameraGetAvg", get<CameraGetAvg, int>},
    Setting{"CameraGetGain", get<CameraGetGain, int>},
    Setting{"CameraGetAdvancedGain", get<CameraGetAdvancedGain, int>},
    Setting{"CameraGetAEC", get<CameraGetAEC, bool>},
    Setting{"CameraGetAGC", get<CameraGetAGC, bool>},
    Setting{"CameraGetAETarget", get<CameraGetAETarget, int>},
    Setting{"CameraGetAntiFlicker", get<CameraGetAntiFlicker, int>},
    Setting{"CameraGetFrameRate", get_two<CameraGetFrameRate, bool, double>},
    Setting{"CameraGetHighspeed", get<CameraGetHighspeed, bool>},
    Setting{"CameraGetGlobalReset", get<CameraGetGlobalReset, bool>},
    Setting{"CameraGetDelay", get<CameraGetDelay, int>},
    Setting{"CameraGetSnapMode", get<CameraGetSnapMode, int>},
    Setting{"CameraGetSnapNum", get<CameraGetSnapNum, int>},
    Setting{"CameraGetStrobe", get<CameraGetStrobe, bool>},
    Setting{"CameraGetTriggerPolarity", get<CameraGetTriggerPolarity, bool>},
    Setting{"CameraGetStrobePolarity", get<CameraGetStrobePolarity, int>},
    Setting{"CameraGetTriggerDelay", get<CameraGetTriggerDelay, int>},
    Setting{"CameraGetStrobeDelay", get<CameraGetStrobeDelay, int>},
    Setting{"CameraGetStrobeDuration", get<CameraGetStrobeDuration, int>},
    Setting{"CameraGetDebouncerTime", get<CameraGetDebouncerTime, int>},
    Setting{"CameraGetWBGain", get_wb_gain},
    Setting{"CameraGetAWB", get<CameraGetAWB, bool>},
    Setting{"CameraGetDenoise", get<CameraGetDenoise, bool>},
    Setting{"CameraGetFPN", get<CameraGetFPN, bool>},
    Setting{"CameraGetGPIO", get<CameraGetGPIO, int>},
    Setting{"CameraReadSerialNumber", read_serial_number},
    Setting{"CameraReadUserData", read_user_data, Patience::kWholeCamera},
    Setting{"CameraGetLastError", get_last_error},
    // These look at every camera on the bus.
    Setting{"CameraGetCount", get_count, Patience::kWholeCamera},
    Setting{"CameraGetName", get_name, Patience::kWholeCamera},
    Setting{"CameraGetID", get_two<CameraGetID, int, int>, Patience::kWholeCamera},
};

}  // namespace

std::span<const Setting> setters() {
  return kSetters;
}

std::span<const Setting> getters() {
  return kGetters;
}

}  // namespace kxcam::soak

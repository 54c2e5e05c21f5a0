// SPDX-License-Identifier: Apache-2.0
#include "device/sensors/gain_codes.h"

#include <algorithm>
#include <cmath>

namespace kxsim {

namespace {

double by_tenths_of_decibel(double tenths) {
  return std::pow(10.0, tenths / 200.0);
}

/// A converter whose ramp gets flatter by each step.
double by_ramp(uint32_t code, uint32_t steps) {
  return steps / static_cast<double>(steps - std::min(code, steps - 1));
}

}  // namespace

double gain_in_sixteenths(const RegisterFiles& files) {
  return sensor_value(files, 0x35) / 16.0;
}

double gain_with_doubler(const RegisterFiles& files) {
  const uint32_t code = sensor_value(files, 0x35);
  const uint32_t stage = code & 0x7F;
  const uint32_t analogue = stage <= 64 ? stage : 2 * (stage & 63);
  return analogue / 16.0 * (1 + (code >> 8) / 8.0);
}

double gain_in_three_ranges(const RegisterFiles& files) {
  const uint32_t code = sensor_value(files, 0x35);
  if (code >= 96) return (128 + 16.0 * (code - 96)) / 16;
  if (code >= 80) return (64 + 4.0 * (code - 80)) / 16;
  return code / 8.0;
}

double gain_in_32nds(const RegisterFiles& files) {
  return sensor_value(files, 0x305E) / 32.0;
}

double gain_in_128ths(const RegisterFiles& files) {
  return sensor_value(files, 0x305E) / 128.0;
}

double gain_of_columns(const RegisterFiles& files) {
  const double code = sensor_value(files, 0x305E);
  if (code < 6144) return std::max(code - 4160, 0.0) / 4 / 16;
  if (code < 7168) return (code - 6144) / 4 / 16;
  return (code - 7168) / 2 / 16;
}

double gain_of_range_and_digits(const RegisterFiles& files) {
  const uint32_t code = sensor_value(files, 0x305E);
  const uint32_t digits = (code & 0x7F) / 8;
  const uint32_t range = code >> 7;
  if (range >= 511) return digits;
  if (range >= 255) return digits / 2.0;
  return digits / (range >= 127 ? 4.0 : 8.0);
}

double gain_of_product(const RegisterFiles& files) {
  const uint32_t code = sensor_value(files, 0x305E);
  return (code >> 7) / 96.0 * (64 + (code & 0x7F)) / 64;
}

double gain_from_128(const RegisterFiles& files) {
  const uint32_t code = sensor_value(files, 0x11);
  return code < 0x100 ? 1.0 : (code & 0xFF) / 128.0;
}

double gain_of_powers(const RegisterFiles& files) {
  const uint32_t stages = sensor_value(files, 0x3E08);
  const double analogue = stages >= 0x67 ? 8 : stages >= 0x27 ? 4 : stages >= 7 ? 2 : 1;
  return analogue * sensor_value(files, 0x3E09) / 32;
}

double gain_of_stages(const RegisterFiles& files) {
  double analogue = 1;
  for (const uint32_t last_stage : {7U, 35U, 39U, 47U, 63U}) {
    if (sensor_value(files, 0x3E08) >= last_stage) analogue *= 2;
  }
  return analogue * sensor_value(files, 0x3E09) / 64;
}

double gain_in_168ths(const RegisterFiles& files) {
  return (sensor_value(files, 0x3E08) << 8 | sensor_value(files, 0x3E09)) / 168.0;
}

double gain_in_192nds(const RegisterFiles& files) {
  return sensor_value(files, 0xCD) / 192.0;
}

double gain_in_decibels_3204(const RegisterFiles& files) {
  return by_tenths_of_decibel(sensor_value(files, 0x3204));
}

double gain_in_decibels_301f(const RegisterFiles& files) {
  return by_tenths_of_decibel(sensor_value(files, 0x301F));
}

double gain_in_decibels_3014(const RegisterFiles& files) {
  return by_tenths_of_decibel(3.0 * sensor_value(files, 0x3014));
}

double gain_of_ramp_2048(const RegisterFiles& files) {
  return by_ramp(sensor_value(files, 0x0A) << 8 | sensor_value(files, 0x09), 2048);
}

double gain_of_ramp_1024(const RegisterFiles& files) {
  constexpr uint16_t kBridgeGain = 2;
  const auto bridge = files.parameters.find(kBridgeGain);
  const double digital = bridge == files.parameters.end() ? 1.0 : bridge->second / 16.0;
  return digital * by_ramp(sensor_value(files, 0x13) << 8 | sensor_value(files, 0x14), 1024);
}

double gain_of_ramp_256(const RegisterFiles& files) {
  return by_ramp(sensor_value(files, 0x15), 256);
}

}  // namespace kxsim

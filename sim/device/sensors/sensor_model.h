// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <vector>

namespace kxsim {

/// Registers that were written or are not 0 after power-up, by address.
using Registers = std::map<uint16_t, uint16_t>;

/// The register files behind one USB connector.
struct RegisterFiles {
  Registers sensor = {};
  Registers bridge = {};
  Registers parameters = {};
  Registers apart = {};  ///< what was written to registers of the sensor that read as something else
};

inline uint32_t value_in(const Registers& registers, uint16_t address) {
  const auto found = registers.find(address);
  return found == registers.end() ? 0 : found->second;
}

inline uint32_t sensor_value(const RegisterFiles& files, uint16_t address) {
  return value_in(files.sensor, address);
}

/// Everything outside the registers that the pixel clock depends on.
enum class PixelClock { kOlderBridge, kOlderBridgeHighSpeed, kHighSpeedLink, kSuperSpeedLink };

/// What a sensor makes of its registers.
struct ShutterState {
  double line_ms = 0;      ///< duration of a line
  double exposure_ms = 0;  ///< of every row
  double gain = 1;         ///< 1 = unamplified
  double extra_lines = 0;  ///< of pause after the frame
  bool rolling = true;     ///< rows start a line after each other rather than together
};

/// A number that registers make up together: the sum of their parts, each shifted to its place.
struct RegisterPart {
  uint16_t address = 0;
  int shift = 0;           ///< to the left; negative: to the right
  bool in_bridge = false;  ///< else in the sensor
};
using RegisterNumber = std::vector<RegisterPart>;

uint32_t number_in(const RegisterFiles& files, const RegisterNumber& parts);

/// What the duration of a line may depend on.
struct LineConditions {
  const RegisterFiles& files;
  int width = 0;  ///< pixels read out of the line
  PixelClock clock = PixelClock::kOlderBridge;
  double lines = 0;  ///< of the exposure
};

/// How a sensor reads its registers: the description of the device's makers, which shares nothing with a
/// driver's.
struct SensorModel {
  std::vector<uint32_t> ids;        ///< of the colour sensors; the monochrome ones are like them
  std::vector<uint16_t> registers;  ///< all that a driver has to do with
  RegisterFiles power_up;           ///< what is not 0 then

  // Exposure in lines: (lines - idle_lines) / lines_divisor + lines_offset.
  RegisterNumber lines;
  RegisterNumber idle_lines = {};  ///< of a frame, before the exposure begins
  int lines_divisor = 1;
  int lines_offset = 0;

  double (*gain)(const RegisterFiles& files);
  /// Amplification at the gain that the maker stores.
  double factory_gain = 1;

  double (*line_ms)(const LineConditions& at);
  /// Lines by which the pause after a frame is longer than the shortest, for a readout of that size. Null
  /// where no register says it.
  double (*extra_lines)(const RegisterFiles& files, int width, int height) = nullptr;
  bool rolling = true;
  /// Level of the light that suits it, see Lighting.
  double light = 1;
  bool scans_lines = false;     ///< one line again and again, on request
  bool bridge_exposes = false;  ///< the bridge has an exposure loop for it, whatever its features say
  /// Registers that read as something else than what was written.
  std::vector<uint16_t> apart = {};
  /// The first pulse in trigger mode only starts the sensor anew.
  bool restarts_on_first_pulse = false;
};

/// Null for a sensor whose exposure is fixed.
const SensorModel* find_sensor_model(uint32_t sensor_id);

/// For a readout of that size.
ShutterState shutter_state(const SensorModel& model, const RegisterFiles& files, int width, int height,
                           PixelClock clock);

}  // namespace kxsim

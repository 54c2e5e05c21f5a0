// SPDX-License-Identifier: Apache-2.0
#include "device/factory_program.h"

#include <array>
#include <span>
#include <vector>

namespace kxsim {
namespace {

constexpr uint16_t kColorMatrix = 0x1D20;
constexpr uint16_t kDeadPixels = 0x1E00;
constexpr std::array<uint16_t, 2> kParameterSets = {0x1F00, 0x1F40};

constexpr size_t kEvenColumnsPage = 0x400;
constexpr size_t kOddColumnsPage = 0x440;
constexpr size_t kRowsPage = 0x480;
constexpr size_t kLookupTablePage = 0x600;

constexpr std::array<uint8_t, 18> kIdentity = {0, 100, 0, 0, 0, 0, 0, 0, 0, 100, 0, 0, 0, 0, 0, 0, 0, 100};

constexpr size_t kExposure = 0x02;
constexpr size_t kExposureHigh = 0x3E;
constexpr std::array<uint8_t, 64> kNeutralSettings = {
    0,    16,                    // gain
    0,    0,                     // exposure
    0,    100,  0, 100,          // gamma, contrast in hundredths
    0x30, 0,                     // switches: no fixed frame rate, the driver may expose; nothing else is off
    0,    100,  0, 100, 0, 100,  // white-balance gains in hundredths
    0,    0,                     // black level
    0,    70,                    // auto-exposure target
    0,    100,                   // saturation in hundredths
    0,    1,                     // interpolation, readout mode
    0,    0,                     // delay
    0,    0,    0, 0,            // advanced gain, image format, resolution, region of interest off
    0,    0,    0, 0,   0, 0,   0, 0,  // region of interest
    0x01, 0xF4,                        // time-out: 500 ms
    1,                                 // snap mode: free run
    0,    2,                           // lines per frame
    0,    0,                           // reserved
    0,                                 // line trigger
    0,    1,                           // frames per trigger
    0,    100,                         // frame rate in tenths
    1,    1,                           // polarities of trigger and strobe
    0,    0,    0, 0,   0, 0,   0, 0,  // trigger unit: delays, duration, debouncer
    0xFF, 0xFF,                        // not used
    0,                                 // exposure, high byte
    0xFF,                              // not used
};

void program(Eeprom& eeprom, uint16_t address, std::span<const uint8_t> bytes) {
  for (const uint8_t byte : bytes) eeprom.program(address++, byte);
}

std::vector<uint8_t> straight_lookup_table() {
  std::vector<uint8_t> table(4096);
  for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<uint8_t>(i >> 4);
  return table;
}

}  // namespace

void program_factory_settings(const Model& model, uint32_t exposure, Eeprom& eeprom, SpiFlash& flash) {
  auto settings = kNeutralSettings;
  settings[kExposure] = static_cast<uint8_t>(exposure >> 8);
  settings[kExposure + 1] = static_cast<uint8_t>(exposure);
  settings[kExposureHigh] = static_cast<uint8_t>(exposure >> 16);
  for (const uint16_t set : kParameterSets) program(eeprom, set, settings);
  program(eeprom, kColorMatrix, kIdentity);
  program(eeprom, kDeadPixels, std::array<uint8_t, 2>{});
  const std::vector<uint8_t> columns(2 * static_cast<size_t>(model.width));
  const std::vector<uint8_t> rows(2 * static_cast<size_t>(model.height));
  flash.write(kEvenColumnsPage, columns);
  flash.write(kOddColumnsPage, columns);
  flash.write(kRowsPage, rows);
  if (model.color == ColorMode::kMono12) flash.write(kLookupTablePage, straight_lookup_table());
}

}  // namespace kxsim

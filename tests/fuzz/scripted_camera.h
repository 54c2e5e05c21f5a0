// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include <libusb.h>

#include "core/registry/model_table.h"
#include "input.h"

namespace kxcam {

inline constexpr uint16_t kForeignVendor = 0x04B4;
inline constexpr uint16_t kForeignProduct = 0x8613;

/// A camera that answers as cameras do; what goes wrong is up to the bus.
class ScriptedCamera {
 public:
  /// Takes model, speed, firmware, features and what the EEPROM holds from the input. `place` tells cameras
  /// of the same input apart by their serial numbers.
  ScriptedCamera(Input& input, size_t place);

  libusb_device_descriptor descriptor() const;
  int speed() const { return speed_; }
  uint8_t stream_endpoint() const { return model_->newer_bridge() ? 0x81 : 0x82; }

  /// Length of the reply to a vendor request, which `data` receives.
  size_t reply(uint8_t request, uint16_t value, uint16_t index, std::span<uint8_t> data);
  void obey(uint8_t request, uint16_t value, uint16_t index, std::span<const uint8_t> data);

  /// Length of the part of a frame that a transfer into `data` receives; 0 while nothing is streamed. Of a
  /// large frame only the ends are written.
  size_t stream(std::span<uint8_t> data);

 private:
  uint8_t* eeprom_cell(uint16_t address);
  void patch_eeprom(Input& input);
  void select_preset(uint16_t preset);

  const CameraModel* model_;
  bool generic_ = false;  ///< listed with the id of a bridge that hides its camera
  bool foreign_ = false;
  int speed_;
  uint32_t firmware_;
  uint8_t features_;
  bool streaming_;
  uint16_t width_;
  uint16_t height_;
  size_t sent_ = 0;  ///< bytes of the current frame
  std::array<uint8_t, 0x300> eeprom_;
  std::array<uint16_t, 0x10000> registers_{};
};

}  // namespace kxcam

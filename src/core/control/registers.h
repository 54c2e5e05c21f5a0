// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>

#include "core/registry/camera_context.h"
#include "usb/requests.h"

namespace kxcam {

/// The device of a camera; null with NO_DEVICE when it has none.
DeviceHandle find_device(const CameraContext& camera);

// What an open camera keeps in registers and memory cells, one request for each. All fail with NO_DEVICE,
// reads with READ_REQUEST and writes with WRITE_REQUEST.

/// A request of the bridge with a short answer, for the operations that have one of their own.
std::optional<ShortReply> ask_bridge(const CameraContext& camera, uint8_t request, uint16_t index,
                                     uint16_t value);

/// Sensor registers, over the sensor's own bus. Registers of two bytes are big-endian.
bool sccb_write(CameraContext& camera, uint32_t reg, uint32_t value);
std::optional<uint32_t> sccb_read(CameraContext& camera, uint32_t reg);

struct RegisterWrite {
  uint32_t reg;
  uint32_t value;
};

/// Writes sensor registers in that order, also after one that failed; true when all were written.
bool sccb_write_all(CameraContext& camera, std::initializer_list<RegisterWrite> writes);

/// Two registers of eight bits as one value, the first one high; nothing when either cannot be read.
std::optional<int32_t> sccb_read_pair(CameraContext& camera, uint32_t high_reg, uint32_t low_reg);

/// The low byte of a value that is spread over registers of eight bits, `place` bytes up.
constexpr uint32_t byte_of(int64_t value, int place) {
  return static_cast<uint32_t>(value >> (8 * place)) & 0xFF;
}

/// A sensor family's step that writes its argument to one sensor register.
template <uint32_t kRegister>
bool write_value(CameraContext& camera, int32_t value) {
  return sccb_write(camera, kRegister, static_cast<uint32_t>(value));
}

/// A sensor register of mode bits. NOT_SUPPORTED when the sensor does not answer, NO_DEVICE
/// without a device.
std::optional<uint32_t> read_mode_bits(CameraContext& camera, uint32_t reg);

/// Sets or clears bits of such a register; false when it could not be read, and only then.
bool switch_mode_bits(CameraContext& camera, uint32_t reg, uint32_t bits, bool on);

/// The same for a polarity: false also when the register could not be written.
bool switch_polarity_bit(CameraContext& camera, uint32_t reg, uint32_t bit, bool on);

/// Image-processor registers of the bridge. NOT_SUPPORTED on firmware before 0x8300. On a model without such
/// registers a write succeeds and sends nothing, so that callers need no model test; a read fails
/// with NOT_SUPPORTED.
bool isp_write(CameraContext& camera, uint32_t reg, uint32_t value);
std::optional<uint32_t> isp_read(CameraContext& camera, uint32_t reg);

/// Firmware parameter.
bool param_write(CameraContext& camera, uint32_t index, uint32_t value);

/// Where the blocks of a camera's EEPROM begin; values of two bytes are big-endian.
enum EepromAddress : uint16_t {
  kSerialAddress = 0x1D00,      ///< 12 characters
  kMatrixAddress = 0x1D20,      ///< 9 words: colour matrix
  kNameLengthAddress = 0x1D50,  ///< 1 byte: length of the user's name, 1..30 when there is one
  kNameAddress = 0x1D51,
  kUserDataAddress = 0x1D70,   ///< 63 bytes
  kDeadPixelAddress = 0x1E00,  ///< up to 127 words: count, then x and y of each
  kParameterAddress = 0x1F00,  ///< 4 blocks of 64 bytes: parameter sets
};

/// EEPROM, one byte a request; a write returns after the EEPROM's write cycle.
std::optional<uint8_t> eeprom_read(CameraContext& camera, uint32_t address);
bool eeprom_write(CameraContext& camera, uint32_t address, uint8_t byte);

/// Line states, or -1.
int get_gpio(CameraContext& camera);
/// Drives the lines `pins` to `level`; the camera's answer, or -1. ARGUMENT for a line that the camera keeps
/// for its strobe.
int set_gpio(CameraContext& camera, int pins, int level);

}  // namespace kxcam

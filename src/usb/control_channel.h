// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include <libusb.h>

namespace kxcam {

struct CameraContext;

/// Longest reply of a register request.
using ShortReply = std::array<uint8_t, 10>;

/// Sends a vendor IN request, once more if it fails; 100 ms each. `length` holds the room in `data`
/// (its low 16 bits count) and on success the bytes received. Sets no code.
bool EP0Read(libusb_device_handle* handle, uint8_t request, uint16_t index, uint16_t value, uint8_t* data,
             long& length);

/// The same for a vendor OUT request with `length` bytes of data.
bool EP0Write(libusb_device_handle* handle, uint8_t request, uint16_t index, uint16_t value, uint8_t* data,
              long& length);

/// EP0Read() of up to ten bytes into a cleared buffer.
bool read_short(libusb_device_handle* handle, uint8_t request, uint16_t index, uint16_t value,
                ShortReply& reply, long& length);

/// A register write before the camera has an index. Code 11.
bool sccb_write_raw(libusb_device_handle* handle, uint32_t reg, uint32_t value);

// Register access of an open camera. The unnamed arguments are accepted and ignored. Codes of all: 1, 3, 4;
// 10 for a failed read, 11 for a failed write.

/// Sensor registers, over the sensor's own bus. Registers of two bytes are big-endian.
bool sccb_write(int camera, int, uint32_t reg, uint32_t value, int);
bool sccb_read(int camera, int, uint32_t reg, uint32_t* value, int);

/// Image-processor registers of the bridge. Code 8 on firmware before 0x8300. On a model without such
/// registers a write succeeds and sends nothing, so that callers need no model test; a read fails
/// with code 8.
bool isp_write(int camera, int, uint32_t reg, uint32_t value, int);
bool isp_read(int camera, int, uint32_t reg, uint32_t* value, int);

/// Firmware parameter.
bool param_write(int camera, uint32_t index, uint32_t value);

/// EEPROM, one byte a request; a write returns after the EEPROM's write cycle.
bool eeprom_read(int camera, int, uint32_t address, uint8_t* byte, int);
bool eeprom_write(int camera, int, uint32_t address, uint8_t byte, int);

/// Line states, or -1.
int get_gpio(int camera);
/// Drives the lines `pins` to `level`; the camera's answer, or -1. Code 2 for a line that the camera keeps
/// for its strobe.
int set_gpio(int camera, int pins, int level);

// The same for calls that hold the context already. Codes 4, 8, 10, 11, 2 as above.
bool sccb_write(CameraContext& camera, uint32_t reg, uint32_t value);
std::optional<uint32_t> sccb_read(CameraContext& camera, uint32_t reg);
bool isp_write(CameraContext& camera, uint32_t reg, uint32_t value);
std::optional<uint32_t> isp_read(CameraContext& camera, uint32_t reg);
bool param_write(CameraContext& camera, uint32_t index, uint32_t value);
int set_gpio(CameraContext& camera, int pins, int level);

}  // namespace kxcam

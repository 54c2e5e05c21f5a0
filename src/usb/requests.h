// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include <libusb.h>

namespace kxcam {

/// Sends a vendor IN request, once more if it fails; 100 ms each. `length` holds the room in `data`
/// (its low 16 bits count) and on success the bytes received. Sets no code.
bool EP0Read(libusb_device_handle* handle, uint8_t request, uint16_t index, uint16_t value, uint8_t* data,
             long& length);

/// The same for a vendor OUT request with `length` bytes of data.
bool EP0Write(libusb_device_handle* handle, uint8_t request, uint16_t index, uint16_t value, uint8_t* data,
              long& length);

/// Answer of up to ten bytes; what did not come is 0.
struct ShortReply {
  std::array<uint8_t, 10> bytes{};
  long length = static_cast<long>(sizeof bytes);

  uint8_t operator[](size_t i) const { return bytes[i]; }
};

/// EP0Read() of a short answer; nothing when the request failed. Sets no code.
std::optional<ShortReply> read_short(libusb_device_handle* handle, uint8_t request, uint16_t index,
                                     uint16_t value);

/// EP0Write() of a request without data. Fails with WRITE_REQUEST.
bool write_short(libusb_device_handle* handle, uint8_t request, uint16_t index, uint16_t value);

/// Writes a sensor register of a device that is no open camera yet. Fails with WRITE_REQUEST.
bool sccb_write_raw(libusb_device_handle* handle, uint32_t reg, uint32_t value);

/// Reads `length` bytes of the camera's flash from `page` (256 bytes each) on into `data`, in requests
/// of at most 4096 bytes. Every request names the first page: only the first 4096 bytes of a longer
/// read are what their place in the flash holds. Always true; what a failed request would have brought is
/// left as it was in `data`.
bool ReadSPI(libusb_device_handle* handle, int page, uint8_t* data, long length);

/// Writes `length` bytes from `page` on, in requests of at most 4096 bytes. Every request sends the
/// first bytes of `data`: callers move one block of 4096 bytes at a time. Always true.
bool WirteSPI(libusb_device_handle* handle, int page, uint8_t* data, long length);

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include <libusb.h>

namespace kxcam {

/// Reads `length` bytes of the camera's flash from `page` (256 bytes each) on into `data`, in requests
/// of at most 4096 bytes. Every request names the first page: only the first 4096 bytes of a longer
/// read are what their place in the flash holds. Always true; what a failed request would have brought is
/// left as it was in `data`.
bool ReadSPI(libusb_device_handle* handle, int page, uint8_t* data, long length);

/// Writes `length` bytes from `page` on, in requests of at most 4096 bytes. Every request sends the
/// first bytes of `data`: callers move one block of 4096 bytes at a time. Always true.
bool WirteSPI(libusb_device_handle* handle, int page, uint8_t* data, long length);

}  // namespace kxcam

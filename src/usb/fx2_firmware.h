// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include <libusb.h>

namespace kxcam {

/// Loads an Intel HEX file into the RAM of an FX2-style bridge with `request`, while its CPU is held in
/// reset. Takes about two seconds and always returns 0; messages go to standard output. Check sums are not
/// verified, and every record but an end record counts as data.
int kxusb_download_fx2(libusb_device_handle* handle, const char* path, uint8_t request);

}  // namespace kxcam

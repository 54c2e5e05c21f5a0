// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "usb/config_file.h"

namespace kxcam {

inline constexpr uint16_t kCameraVendor = 0xA7B7;
/// Product id of a device that reveals its own only when asked.
inline constexpr uint16_t kGenericProduct = 0x3FF0;

/// What the library reads in the text of a configuration file. Before it is asked: it ends the process over a
/// malformed line.
inline ConfigFile parse_configuration(std::string_view text) {
  return parse_config_file(text, kConfigFileRows);
}

inline bool lists_camera(const ConfigFile& file, uint16_t product) {
  return std::ranges::any_of(
      file.devices, [&](const VpdRow& row) { return row.vendor == kCameraVendor && row.product == product; });
}

}  // namespace kxcam

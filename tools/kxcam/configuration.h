// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kxcam {

inline constexpr uint16_t kCameraVendor = 0xA7B7;
/// Product id of a device that reveals its own only when asked.
inline constexpr uint16_t kGenericProduct = 0x3FF0;

/// Path of the file in which the library looks up the devices it may open.
std::string configuration_file();

/// Advice to list a camera with that product id.
std::string configuration_row_to_add(uint16_t product);

/// The devices in a configuration file.
struct DeviceList {
  struct Device {
    uint16_t vendor;
    uint16_t product;
    bool operator==(const Device&) const = default;
  };

  std::vector<Device> devices;
  bool truncated = false;  ///< there are more rows than the library has room for
  int bad_line = 0;        ///< number of the line that ends the library's process; 0: none
  std::string bad_word;    ///< with which that line begins

  bool contains(uint16_t vendor, uint16_t product) const;
};

/// Reads a configuration file's text by the library's rules. The library itself can only be asked at the risk
/// of the process: it ends it over a malformed line.
DeviceList read_device_list(std::string_view text);

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kxcam::doctor {

/// What a configuration file comes to.
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

/// Reads a configuration file's text by the library's rules, which itself can only be asked at the risk of
/// the process: it ends it over a malformed line.
DeviceList read_device_list(std::string_view text);

}  // namespace kxcam::doctor

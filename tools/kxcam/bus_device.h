// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kxcam {

/// A camera as the kernel shows it, whether or not it may be opened.
struct BusDevice {
  std::string port;  ///< bus and ports, "1-3.2": its name in sysfs
  int bus = 0;
  int address = 0;
  std::string product_id;      ///< four hexadecimal digits
  std::filesystem::path node;  ///< /dev/bus/usb/BBB/DDD
  int access_error = 0;        ///< errno of an attempt to open the node for reading and writing; 0: allowed
  bool claimed = false;        ///< a program uses its interface 0
};

/// The cameras that the kernel lists, in order of their nodes; none where there is no sysfs.
std::vector<BusDevice> find_bus_devices(const std::filesystem::path& sysfs = "/sys/bus/usb/devices",
                                        const std::filesystem::path& nodes = "/dev/bus/usb");

}  // namespace kxcam

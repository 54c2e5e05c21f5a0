// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "doctor/facts.h"

namespace kxcam::doctor {

/// A camera as libusb shows it.
struct UsbCamera {
  std::string port;  ///< bus and ports: its name in sysfs
  int bus = 0;
  int address = 0;
  uint16_t product_id = 0;
  int megabits = 0;  ///< per second; 0: not known
  UsbAccess access;
};

struct UsbScan {
  int start = 0;  ///< libusb's code
  std::vector<UsbCamera> cameras;
};

/// Looks at every camera on the bus, opens those that it may and claims their interface for a moment. A
/// program that streams from one is not disturbed: the claim then fails.
UsbScan scan_usb();

}  // namespace kxcam::doctor

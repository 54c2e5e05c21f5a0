// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
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

/// Decides about a camera that could be opened whether its interface is claimed for a moment.
using ClaimIt = std::function<bool(const UsbCamera&)>;

/// Looks at every camera on the bus, in the order of libusb, opens those that it may, and claims the
/// interface of those that `claim_it` names. A program that streams from one is not disturbed: the claim then
/// fails.
UsbScan scan_usb(const ClaimIt& claim_it);

}  // namespace kxcam::doctor

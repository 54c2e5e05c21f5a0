// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "answer.h"

namespace kxcam::gentl {

/// A device as a list shows it.
struct DeviceEntry {
  std::string id;      ///< the serial number
  std::string serial;  ///< as the camera has it
  std::string model;
  std::string name;   ///< given by its owner, or else the model
  bool busy = false;  ///< the last try to open it found it held by another program

  bool operator==(const DeviceEntry&) const = default;

  void info(DeviceInfo command, AccessStatus access, const Answer& answer) const;
};

}  // namespace kxcam::gentl

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "doctor/facts.h"

namespace kxcam::doctor {

/// The hubs between the host controller and the device at `port` ("1-3.2": by "usb1" and "1-3"). `devices`
/// is the folder /sys/bus/usb/devices. Those that it does not hold are left out.
std::vector<Hub> hubs_before(const std::string& port, const std::filesystem::path& devices);

}  // namespace kxcam::doctor

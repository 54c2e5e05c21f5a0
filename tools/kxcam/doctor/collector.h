// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

#include "doctor/facts.h"
#include "doctor/usb_scan.h"

namespace kxcam::doctor {

/// Where facts come from.
struct Sources {
  std::filesystem::path root = "/";  ///< what is below it in sys, proc, dev and etc counts
  std::string configuration;         ///< path of the configuration file
  bool simulated = false;            ///< by kxsim
};

/// The sources of this process.
Sources own_sources();

/// Gathers the facts. What cannot be read stays unknown; nothing throws but a lack of memory.
Facts collect(const Sources& sources, const UsbScan& scan);

}  // namespace kxcam::doctor

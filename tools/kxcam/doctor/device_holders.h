// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "doctor/facts.h"

namespace kxcam::doctor {

using Holders = std::map<std::string, std::vector<Holder>>;

/// Which other processes have one of the device nodes below /dev/bus/usb open, by node. Only root sees the
/// processes of other users. `proc` is the folder /proc.
Holders find_holders(const std::filesystem::path& proc);

}  // namespace kxcam::doctor

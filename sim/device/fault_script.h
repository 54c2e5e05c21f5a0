// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string_view>

#include "device/fault_plan.h"

namespace kxsim {

/// A script that cannot be read; what() names line, word and what was expected.
class BadFaultScript : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads a fault script: one fault a line (or between semicolons), # begins a comment, case matters not
/// for hexadecimal numbers only.
///
///     request WHICH [of CODE] stall | timeout | garbage | short BYTES | reply HEX...
///     bulk    WHICH stall | overflow | error
///     frame   WHICH missing | short BYTES | long BYTES | split BYTES | unended BYTES
///     stream  ends after FRAMES
///     eeprom  dies after BYTES
///     flash   dies after BYTES
///     unplug  at TIME | after N frames | after N requests   [back after TIME [on port N]]
///     open    denied
///     claim   busy
///
/// WHICH is a number counted from 1, a range 2-5, an open range 3-, or "all"; CODE a request code in
/// hexadecimal; TIME a number with ms or s. "camera N" in front of a fault limits it to the N-th camera.
/// Returns the faults of camera number `camera`; those of others are checked and left out. Throws
/// BadFaultScript.
FaultPlan parse_fault_script(std::string_view script, int camera = 1);

}  // namespace kxsim

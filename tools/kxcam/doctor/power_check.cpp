// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include "doctor/checks.h"

namespace kxcam::doctor {

void check_power(const CameraFacts& camera, const Facts& facts, Findings& findings) {
  if (camera.power_control == "on") {
    findings.push_back({Severity::kOk, "power", camera.port, "never suspended to save power"});
  } else if (camera.power_control == "auto") {
    findings.push_back(
        {Severity::kWarning, "power", camera.port, "may be suspended to save power, after which it stalls",
         fmt::format(
             "echo on | sudo tee /sys/bus/usb/devices/{}/power/control\n{}", camera.port,
             facts.rule.names_cameras
                 ? "The rule for the cameras does that when they are plugged in; a power-saving tool\n"
                   "(TLP, powertop) has undone it: exclude a7b7 there."
                 : "The rule 70-kxcam.rules of the package libkxcam1 does that whenever a camera is plugged\n"
                   "in.")});
  }
}

}  // namespace kxcam::doctor

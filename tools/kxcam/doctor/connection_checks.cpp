// SPDX-License-Identifier: Apache-2.0

// How the camera is connected: how fast, and whether it may be suspended.

#include <algorithm>

#include <fmt/format.h>

#include "doctor/checks.h"

namespace kxcam::doctor {
namespace {

constexpr int kHighSpeed = 480;

// USB 2 and USB 3 of one hub are two devices; the USB 2 half of a USB 3 hub says version 2.1.
bool is_usb2_hub(const Hub& hub) {
  return !hub.name.starts_with("usb") && hub.usb_version != 0 && hub.usb_version < 0x0210;
}

std::string path_to(const CameraFacts& camera) {
  if (camera.hubs.empty()) return "";
  std::string path = "\nPath: ";
  for (const auto& hub : camera.hubs) {
    path += fmt::format("{}{}, {} Mbit/s > ", hub.name, hub.product.empty() ? "" : " " + hub.product,
                        hub.megabits);
  }
  return path + "camera " + camera.port;
}

std::string faster(const CameraFacts& camera, const Facts& facts) {
  const auto slow = std::ranges::find_if(camera.hubs, is_usb2_hub);
  if (slow != camera.hubs.end()) {
    return fmt::format("The hub at {} is a USB 2 hub: plug the camera straight into the machine.",
                       slow->name);
  }
  if (!facts.super_speed_bus && !facts.simulated)
    return "This machine has no USB 3 bus; an expansion card adds one.";
  return "Plug it into a USB 3 port (blue, or marked SS) with a USB 3 cable of at most 3 m, without a hub\n"
         "and in one quick movement: a slow one makes some ports settle for USB 2.";
}

}  // namespace

void check_speed(const CameraFacts& camera, const Facts& facts, Findings& findings) {
  const std::string check = "speed";
  const int speed = camera.megabits;
  if (speed <= 0) return;
  if (speed < kHighSpeed) {
    findings.push_back({Severity::kProblem, check, camera.port,
                        fmt::format("connected at {} Mbit/s: too slow for pictures", speed),
                        "A bad cable, port or hub: try others, without a hub." + path_to(camera)});
  } else if (speed == kHighSpeed && camera.usb && camera.usb->super_speed.value_or(false)) {
    findings.push_back({Severity::kWarning, check, camera.port,
                        "connected at 480 Mbit/s, but the camera can do 5000",
                        faster(camera, facts) + path_to(camera)});
  } else {
    findings.push_back({Severity::kOk, check, camera.port, fmt::format("connected at {} Mbit/s", speed)});
  }
}

void check_power(const CameraFacts& camera, const Facts& facts, Findings& findings) {
  if (camera.power_control == "on") {
    findings.push_back({Severity::kOk, "power", camera.port, "never suspended to save power"});
  } else if (camera.power_control == "auto") {
    findings.push_back(
        {Severity::kWarning, "power", camera.port, "may be suspended to save power, and then stalls",
         fmt::format(
             "echo on | sudo tee /sys/bus/usb/devices/{}/power/control\n{}", camera.port,
             facts.rule.names_cameras
                 ? "The udev rule does that when a camera is plugged in, but a power-saving tool (TLP,\n"
                   "powertop) has undone it: exclude a7b7 there."
                 : "The udev rule 70-kxcam.rules of the package libkxcam1 does that whenever a camera is\n"
                   "plugged in.")});
  }
}

}  // namespace kxcam::doctor

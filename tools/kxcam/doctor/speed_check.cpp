// SPDX-License-Identifier: Apache-2.0
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

std::string way_to(const CameraFacts& camera) {
  if (camera.hubs.empty()) return "";
  std::string way = "\nIts way: ";
  for (const auto& hub : camera.hubs) {
    way += fmt::format("{}{}, {} Mbit/s > ", hub.name, hub.product.empty() ? "" : " " + hub.product,
                       hub.megabits);
  }
  return way + "camera " + camera.port;
}

std::string faster(const CameraFacts& camera, const Facts& facts) {
  const auto slow = std::ranges::find_if(camera.hubs, is_usb2_hub);
  if (slow != camera.hubs.end()) {
    return fmt::format("The hub at {} is one for USB 2: plug the camera into the machine itself.",
                       slow->name);
  }
  if (!facts.super_speed_bus && !facts.simulated)
    return "This machine has no USB 3 port in use; a card adds some.";
  return "Plug it into a USB 3 port (blue, or marked SS) with a USB 3 cable of at most 3 m and without a\n"
         "hub, in one quick movement: a slow one makes some ports settle for USB 2.";
}

}  // namespace

void check_speed(const CameraFacts& camera, const Facts& facts, Findings& findings) {
  const std::string check = "speed";
  const int speed = camera.megabits;
  if (speed <= 0) return;
  if (speed < kHighSpeed) {
    findings.push_back({Severity::kProblem, check, camera.port,
                        fmt::format("connected at {} Mbit/s: too slow for pictures", speed),
                        "Cable, port or hub are bad: try others, without a hub." + way_to(camera)});
  } else if (speed == kHighSpeed && camera.usb && camera.usb->super_speed.value_or(false)) {
    findings.push_back({Severity::kWarning, check, camera.port,
                        "connected at 480 Mbit/s, but the camera can do 5000",
                        faster(camera, facts) + way_to(camera)});
  } else {
    findings.push_back({Severity::kOk, check, camera.port, fmt::format("connected at {} Mbit/s", speed)});
  }
}

}  // namespace kxcam::doctor

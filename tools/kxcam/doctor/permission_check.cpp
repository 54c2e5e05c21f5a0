// SPDX-License-Identifier: Apache-2.0
#include <cerrno>

#include <fmt/format.h>
#include <libusb.h>

#include "doctor/checks.h"

namespace kxcam::doctor {
namespace {

constexpr const char* kApplyRules =
    "    sudo udevadm control --reload\n"
    "    sudo udevadm trigger --subsystem-match=usb --attr-match=idVendor=a7b7";

enum class Access { kAllowed, kDenied, kNoNode, kFailed };

Access access_of(const CameraFacts& camera) {
  const int node = camera.node.error;
  if (!camera.usb) return node == 0 ? Access::kAllowed : node == ENOENT ? Access::kNoNode : Access::kDenied;
  switch (camera.usb->open) {
    case LIBUSB_SUCCESS:
      return Access::kAllowed;
    case LIBUSB_ERROR_ACCESS:
      return Access::kDenied;
    default:
      return node == ENOENT ? Access::kNoNode : Access::kFailed;
  }
}

// The rule gives the node to a group; without one it stays root's.
bool rule_is_in_force(const Node& node) {
  return node.group != "root" && (node.mode & 0060U) == 0060U;
}

std::string get_the_rule(const Rule& rule) {
  if (rule.file.empty()) {
    return fmt::format(
        "There is no udev rule for the cameras: 70-kxcam.rules comes with the package libkxcam1.\n"
        "    sudo apt install libkxcam1      # or copy the file to /etc/udev/rules.d/\n{}",
        kApplyRules);
  }
  return fmt::format(
      "{0} overrides the rule of the package libkxcam1 and does not name the cameras.\n"
      "    sudo rm {0}\n{1}",
      rule.file, kApplyRules);
}

std::string join_the_group(const Node& node) {
  switch (node.membership) {
    case Membership::kNone:
      return fmt::format(
          "The logged-in desktop user may use it; remote (SSH) users and services must be in the group {0}:\n"
          "    sudo adduser \"$USER\" {0}      # and log in again",
          node.group);
    case Membership::kAfterLogin:
      return fmt::format(
          "You joined the group {0} after you logged in. Log in again, or start a shell with `newgrp {0}`.",
          node.group);
    case Membership::kYes:
      break;
  }
  return fmt::format(
      "Its group and mode allow it, but an access list (`getfacl {}`) or a security module forbids it.",
      node.path);
}

std::string remedy_for_denial(const CameraFacts& camera, const Facts& facts) {
  const Node& node = camera.node;
  if (node.error == 0) {
    return facts.container
               ? "Its permissions allow it, but the container may not use USB devices: start it with\n"
                 "--device-cgroup-rule='c 189:* rmw' (docker, podman)."
               : "Its permissions allow it, but a sandbox or security module (snap, flatpak, AppArmor,\n"
                 "DeviceAllow= of a service) forbids it.";
  }
  if (!facts.rule.names_cameras && !rule_is_in_force(node)) return get_the_rule(facts.rule);
  if (!rule_is_in_force(node)) {
    return fmt::format(
        "The rule {} is there but not in force yet. Plug the camera in again, or\n{}\n"
        "If there is no group plugdev, first run: sudo groupadd --system plugdev",
        facts.rule.file, kApplyRules);
  }
  return join_the_group(node);
}

}  // namespace

void check_permission(const CameraFacts& camera, const Facts& facts, Findings& findings) {
  const std::string check = "permission";
  const std::string& path = camera.node.path;
  switch (access_of(camera)) {
    case Access::kAllowed:
      findings.push_back({Severity::kOk, check, camera.port, fmt::format("{} may be opened", path)});
      return;
    case Access::kDenied:
      findings.push_back(
          {Severity::kProblem, check, camera.port,
           fmt::format("{} may not be opened (no permission), and until then no camera is found", path),
           remedy_for_denial(camera, facts), ExitCode::kNoPermission});
      return;
    case Access::kNoNode:
      findings.push_back(
          {Severity::kProblem, check, camera.port, fmt::format("the device node {} is missing", path),
           facts.container ? "The container was started before the camera was plugged in, or without\n"
                             "-v /dev/bus/usb:/dev/bus/usb."
                           : "udev makes it: `systemctl status systemd-udevd` shows whether it runs.",
           ExitCode::kNoPermission});
      return;
    case Access::kFailed:
      findings.push_back({Severity::kProblem, check, camera.port,
                          fmt::format("{} cannot be opened: {}", path, libusb_error_name(camera.usb->open)),
                          "Plug the camera in again; `sudo dmesg | tail` shows what the kernel reports.",
                          ExitCode::kFailure});
  }
}

}  // namespace kxcam::doctor

// SPDX-License-Identifier: Apache-2.0

// All checks in their order, and those that concern the machine as a whole, except for memory.

#include <algorithm>
#include <system_error>

#include <fmt/format.h>

#include "configuration.h"
#include "doctor/checks.h"
#include "small_file.h"

namespace kxcam::doctor {
namespace {

void examine_camera(const CameraFacts& camera, const Facts& facts, const ConfigFile& list,
                    Findings& findings) {
  check_model(camera, findings);
  check_listed(camera, facts.configuration, list, findings);
  check_permission(camera, facts, findings);
  check_use(camera, facts, findings);
  check_speed(camera, facts, findings);
  check_power(camera, facts, findings);
}

constexpr const char* kConfiguration = "configuration";

std::string where_it_comes_from(const std::string& path) {
  return fmt::format(
      "It lists the devices that may be opened. The package libkxcam1 contains one with every model:\n"
      "    sudo apt install --reinstall -o Dpkg::Options::=--force-confmiss libkxcam1\n"
      "The environment variable KXUSB_CONF names another file; {} is the one in use. The shortest has\n"
      "three lines, with one row for each product id (lsusb -d a7b7: shows yours):\n"
      "    <VPD>\n"
      "    a7b7 3500 camera\n"
      "    </VPD>",
      path);
}

}  // namespace

void check_configuration(const Facts& facts, Findings& findings) {
  const auto& [path, error, text] = facts.configuration;
  if (error != 0) {
    findings.push_back({Severity::kProblem, kConfiguration, "",
                        fmt::format("cannot read the configuration file {}: {}", path,
                                    std::generic_category().message(error)),
                        where_it_comes_from(path), ExitCode::kNoConfiguration});
    return;
  }
  const ConfigFile list = parse_configuration(text);
  if (list.bad_line != 0) {
    findings.push_back(
        {Severity::kProblem, kConfiguration, "",
         fmt::format("error in the configuration file {}: line {} begins with \"{}\"", path, list.bad_line,
                     printable(list.bad_word)),
         "Only LogFile, PIDFile, comments with # in the first column, and rows between <VPD> and </VPD>\n"
         "are allowed. A line has at most 118 characters; what follows counts as the next line.",
         ExitCode::kFailure});
  } else if (list.truncated) {
    findings.push_back({Severity::kWarning, kConfiguration, "",
                        fmt::format("{} lists more devices than the library has room for: only the first {} "
                                    "count",
                                    path, list.devices.size()),
                        "Remove the rows of cameras that are not used here."});
  } else {
    findings.push_back(
        {Severity::kOk, kConfiguration, "", fmt::format("{} lists {} devices", path, list.devices.size())});
  }
}

void check_device_files(const Facts& facts, Findings& findings) {
  const std::string check = "device-files";
  if (facts.libusb_start != 0) {
    findings.push_back(
        {Severity::kProblem, check, "", fmt::format("libusb does not start (code {})", facts.libusb_start),
         "It needs /dev/bus/usb and /sys, and memory and file descriptors to spare.", ExitCode::kFailure});
  } else if (facts.simulated) {
    return;
  } else if (facts.node_folder) {
    findings.push_back({Severity::kOk, check, "", "/dev/bus/usb exists"});
  } else if (facts.container) {
    findings.push_back({Severity::kProblem, check, "", "no camera found: the container has no /dev/bus/usb",
                        "Start it with -v /dev/bus/usb:/dev/bus/usb --device-cgroup-rule='c 189:* rmw'\n"
                        "(docker, podman), so that cameras that are plugged in later are there too.",
                        ExitCode::kNoCamera});
  } else {
    findings.push_back({Severity::kProblem, check, "", "no camera found: there is no /dev/bus/usb",
                        "The kernel found no USB controller, or udev does not run: `systemctl status\n"
                        "systemd-udevd` and `sudo dmesg | grep -i usb` show which.",
                        ExitCode::kNoCamera});
  }
}

void check_bus(const Facts& facts, Findings& findings) {
  const std::string check = "bus";
  if (!facts.cameras.empty()) {
    findings.push_back({Severity::kOk, check, "",
                        fmt::format("{} on the bus", facts.cameras.size() == 1
                                                         ? "1 camera"
                                                         : fmt::format("{} cameras", facts.cameras.size()))});
  } else if (!facts.usb_in_sysfs && !facts.simulated) {
    findings.push_back(
        {Severity::kProblem, check, "", "no camera found: the kernel shows no USB bus at all",
         "In a virtual machine, pass a USB controller or the camera through; in a container, mount /sys.\n"
         "Elsewhere the USB controller may be switched off in the firmware of the machine.",
         ExitCode::kNoCamera});
  } else {
    findings.push_back(
        {Severity::kProblem, check, "", "no camera found on the USB bus (vendor id a7b7)",
         "Check cable and power; try another port and another cable, without a hub. While you plug\n"
         "the camera in, `sudo dmesg --follow` shows what the kernel sees: nothing at all\n"
         "means no power or a broken cable, error -71 or -110 a bad cable or port.",
         ExitCode::kNoCamera});
  }
}

Findings examine(const Facts& facts) {
  Findings findings;
  check_configuration(facts, findings);
  check_device_files(facts, findings);
  check_bus(facts, findings);
  check_memory(facts, findings);
  const ConfigFile list = parse_configuration(facts.configuration.text);
  for (const auto& camera : facts.cameras) examine_camera(camera, facts, list, findings);
  return findings;
}

std::optional<Finding> find_obstacle(const Facts& facts, const std::string& port) {
  const ConfigFile list = parse_configuration(facts.configuration.text);
  const auto is_listed = [&](const std::string& place) {
    const auto camera = std::ranges::find(facts.cameras, place, &CameraFacts::port);
    return camera != facts.cameras.end() && lists_camera(list, camera->product_id);
  };
  for (const Finding& finding : examine(facts)) {
    if (!finding.prevents_use) continue;
    // The library finds no camera at all while it may not open one of those it opens.
    const bool denied = finding.prevents_use == ExitCode::kNoPermission && is_listed(finding.camera);
    if (denied || port.empty() || finding.camera.empty() || finding.camera == port) return finding;
  }
  return std::nullopt;
}
}  // namespace kxcam::doctor

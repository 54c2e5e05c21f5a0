// SPDX-License-Identifier: Apache-2.0

// What concerns all cameras alike, but for memory.

#include <system_error>

#include <fmt/format.h>

#include "doctor/checks.h"
#include "printable.h"

namespace kxcam::doctor {
namespace {

constexpr const char* kConfiguration = "configuration";

std::string where_it_comes_from(const std::string& path) {
  return fmt::format(
      "The package libkxcam1 brings /etc/kxusb.conf with every model: sudo apt install --reinstall\n"
      "-o Dpkg::Options::=--force-confmiss libkxcam1. The variable KXUSB_CONF names a file in another\n"
      "place; now {} is read.",
      path);
}

}  // namespace

void check_configuration(const Facts& facts, Findings& findings) {
  const auto& [path, error, text] = facts.configuration;
  if (error != 0) {
    findings.push_back({Severity::kProblem, kConfiguration, "",
                        fmt::format("{} cannot be read: {}", path, std::generic_category().message(error)),
                        where_it_comes_from(path)});
    return;
  }
  const DeviceList list = read_device_list(text);
  if (list.bad_line != 0) {
    findings.push_back(
        {Severity::kProblem, kConfiguration, "",
         fmt::format("{} ends every program that uses the library: line {} begins with \"{}\"", path,
                     list.bad_line, printable(list.bad_word)),
         "Only LogFile, PIDFile, comments with # in the first column, and rows between <VPD> and </VPD>\n"
         "may be there. A line may have at most 118 characters: what follows counts as the next line."});
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
    findings.push_back({Severity::kProblem, check, "",
                        fmt::format("libusb does not start (code {})", facts.libusb_start),
                        "It needs /dev/bus/usb and /sys, and memory and file descriptors to spare."});
  } else if (facts.simulated) {
    return;
  } else if (facts.node_folder) {
    findings.push_back({Severity::kOk, check, "", "/dev/bus/usb is there"});
  } else if (facts.container) {
    findings.push_back({Severity::kProblem, check, "", "the container has no /dev/bus/usb",
                        "Start it with -v /dev/bus/usb:/dev/bus/usb --device-cgroup-rule='c 189:* rmw'\n"
                        "(docker, podman), so that cameras that are plugged in later are there too."});
  } else {
    findings.push_back({Severity::kProblem, check, "", "there is no /dev/bus/usb",
                        "The kernel found no USB controller, or udev does not run: `systemctl status\n"
                        "systemd-udevd` and `sudo dmesg | grep -i usb` show which."});
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
        {Severity::kProblem, check, "", "the kernel shows no USB bus at all",
         "In a virtual machine pass a USB controller or the camera through; in a container\n"
         "/sys must be mounted. Elsewhere the USB controller may be switched off in the firmware\n"
         "of the machine."});
  } else {
    findings.push_back(
        {Severity::kProblem, check, "", "no camera is on the bus (vendor id a7b7)",
         "Check cable and power, try another port and another cable, without a hub. While you plug\n"
         "the camera in, `sudo dmesg --follow` shows what the kernel makes of it: nothing at all\n"
         "means no power or a broken cable, error -71 or -110 a bad cable or port."});
  }
}

}  // namespace kxcam::doctor

// SPDX-License-Identifier: Apache-2.0
#include "doctor/bug_report.h"

#include <cerrno>
#include <string_view>
#include <system_error>

#include <fmt/format.h>

#include "doctor/checks.h"
#include "doctor/findings_output.h"

namespace kxcam::doctor {
namespace {

std::string heading(std::string_view title) {
  return fmt::format("\n== {} ==\n", title);
}

std::string head(bool with_serials) {
  return fmt::format(
      "Report of kxcam doctor\n\n"
      "This file holds: versions of the library, libusb, the kernel and the distribution; the instruction\n"
      "set in use; for each camera its model, USB descriptors, values that the kernel shows for it, the "
      "hubs\n"
      "before it and the programs that have it open; the results of all checks; the text of the\n"
      "configuration file.\n{}"
      "Names of users and of the host are replaced by USER, HOME and HOST.\n",
      with_serials
          ? "It also holds the serial numbers and names of the cameras, because --serials was given.\n"
          : "It does not hold serial numbers or names of cameras (--serials adds them).\n");
}

std::string line(std::string_view name, std::string_view value) {
  return fmt::format("{:<28}{}\n", name, value);
}

std::string usb_text(const std::optional<UsbAccess>& usb) {
  if (!usb) return line("libusb", "does not show it");
  std::string text = line("libusb open, claim", fmt::format("{}, {}", usb->open, usb->claim));
  if (usb->super_speed) text += line("super speed", *usb->super_speed ? "yes" : "no");
  if (usb->true_product) text += line("true product id", fmt::format("{:04x}", *usb->true_product));
  return text;
}

std::string node_text(const Node& node) {
  if (node.mode == 0) return fmt::format("{}, {}", node.path, std::generic_category().message(node.error));
  return fmt::format("{}, mode {:o}, group {}, {}", node.path, node.mode, node.group,
                     node.error == 0 ? "allowed" : std::generic_category().message(node.error));
}

std::string camera_text(const CameraFacts& camera) {
  std::string text = heading("Camera at USB port " + camera.port);
  text += line("id", usb_id(camera));
  text += line("model row", std::to_string(model_row(camera)));
  text += line("device node", node_text(camera.node));
  text += usb_text(camera.usb);
  text += line("driver of interface 0", camera.kernel_driver.empty() ? "none" : camera.kernel_driver);
  for (const auto& holder : camera.holders) text += line("open in", holder.program);
  for (const auto& hub : camera.hubs) {
    text += line("hub " + hub.name,
                 fmt::format("{}, {} Mbit/s, USB {:04x}", hub.product, hub.megabits, hub.usb_version));
  }
  for (const auto& [name, value] : camera.attributes) text += line(name, value);
  return text;
}

std::string machine_text(const Facts& facts) {
  const auto yes = [](bool value) { return value ? "yes" : "no"; };
  std::string text = heading("Machine");
  text += line("simulated cameras", yes(facts.simulated));
  text += line("container", yes(facts.container));
  text += line("run by root", yes(facts.root));
  text += line("/sys/bus/usb/devices", yes(facts.usb_in_sysfs));
  text += line("/dev/bus/usb", yes(facts.node_folder));
  text += line("libusb starts", facts.libusb_start == 0 ? "yes" : fmt::format("code {}", facts.libusb_start));
  text +=
      line("usbfs_memory_mb", facts.usbfs_memory_mb ? std::to_string(*facts.usbfs_memory_mb) : "not known");
  text += line("udev rule", facts.rule.file.empty() ? "none" : facts.rule.file);
  return text;
}

std::string serials_text(const std::vector<AttachedCamera>& named) {
  std::string text = heading("Serial numbers");
  for (const auto& camera : named) {
    text += line(fmt::format("camera {}", camera.index), fmt::format("{}  {}", camera.serial, camera.name));
  }
  return text;
}

}  // namespace

std::string bug_report(const ReportInput& input) {
  const Facts& facts = input.facts;
  std::string text = head(input.with_serials);
  text += heading("Versions");
  for (const auto& [name, value] : input.versions) text += line(name, value);
  text += heading("Checks") + as_text(facts, input.findings);
  text += machine_text(facts);
  for (const auto& camera : facts.cameras) text += camera_text(camera);
  if (input.with_serials) text += serials_text(input.named);
  text += heading("Configuration file " + facts.configuration.path) + facts.configuration.text;
  return text;
}

}  // namespace kxcam::doctor

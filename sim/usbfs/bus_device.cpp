// SPDX-License-Identifier: Apache-2.0
#include "usbfs/bus_device.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "device/descriptors.h"

namespace kxsim {

std::string BusDevice::system_name() const {
  return std::to_string(kBus) + "-" + std::to_string(port_);
}

std::string BusDevice::bus_folder() {
  std::array<char, 32> path{};
  std::snprintf(path.data(), path.size(), "/dev/bus/usb/%03d", kBus);
  return path.data();
}

std::string BusDevice::node_path() const {
  std::array<char, 32> path{};
  std::snprintf(path.data(), path.size(), "%s/%03d", bus_folder().c_str(), address_);
  return path.data();
}

std::optional<std::string> BusDevice::attribute(std::string_view name) const {
  if (name == "busnum") return std::to_string(kBus) + "\n";
  if (name == "devnum") return std::to_string(address_) + "\n";
  if (name == "bConfigurationValue") return "1\n";
  if (name == "speed") return camera_->options().speed == UsbSpeed::kSuper ? "5000\n" : "480\n";
  // Programs that list devices read these here rather than from the device.
  if (name == "manufacturer") return std::string(kManufacturer) + "\n";
  if (name == "product") return std::string(camera_->model().name) + "\n";
  if (name == "descriptors") {
    auto bytes = device_descriptor(camera_->options());
    std::ranges::copy(configuration_descriptor(camera_->options()), std::back_inserter(bytes));
    return std::string(bytes.begin(), bytes.end());
  }
  return std::nullopt;
}

}  // namespace kxsim

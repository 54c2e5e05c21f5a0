// SPDX-License-Identifier: Apache-2.0
#include "doctor/hub_path.h"

#include <cstdlib>

#include "small_file.h"

namespace kxcam::doctor {
namespace {

std::vector<std::string> names_before(const std::string& port) {
  std::vector<std::string> names = {"usb" + port.substr(0, port.find('-'))};
  for (auto dot = port.find('.'); dot != std::string::npos; dot = port.find('.', dot + 1)) {
    names.push_back(port.substr(0, dot));
  }
  return names;
}

// " 2.10" is 0x0210.
uint16_t read_version(const std::filesystem::path& file) {
  std::string text = read_line(file);
  std::erase(text, '.');
  return static_cast<uint16_t>(std::strtoul(text.c_str(), nullptr, 16));
}

}  // namespace

std::vector<Hub> hubs_before(const std::string& port, const std::filesystem::path& devices) {
  std::vector<Hub> hubs;
  for (const auto& name : names_before(port)) {
    const std::filesystem::path folder = devices / name;
    const std::string speed = read_line(folder / "speed");
    if (speed.empty()) continue;
    hubs.push_back({name, printable(read_line(folder / "product")), std::atoi(speed.c_str()),
                    read_version(folder / "version")});
  }
  return hubs;
}

}  // namespace kxcam::doctor

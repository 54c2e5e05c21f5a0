// SPDX-License-Identifier: Apache-2.0
#include "simulated_bus.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <unistd.h>

#include "device/descriptors.h"
#include "device/simulated_camera.h"
#include "usbfs/virtual_bus.h"

namespace {

std::filesystem::path conf_path() {
  return std::filesystem::temp_directory_path() / ("kxusb-" + std::to_string(getpid()) + ".conf");
}

}  // namespace

void plug_in_camera(const char* options) {
  const auto description = kxsim::parse_camera_options(options);
  std::ofstream(conf_path()) << std::hex << "<VPD>\n"
                             << kxsim::kVendorId << ' ' << description.model->PID << " camera\n</VPD>\n";
  setenv("KXUSB_CONF", conf_path().c_str(), 1);
  kxsim::VirtualBus::instance().plug(std::make_shared<kxsim::SimulatedCamera>(description));
}

int unplug_cameras() {
  auto& bus = kxsim::VirtualBus::instance();
  const size_t open = bus.open_nodes();
  bus.unplug_all();
  std::filesystem::remove(conf_path());
  return static_cast<int>(open);
}

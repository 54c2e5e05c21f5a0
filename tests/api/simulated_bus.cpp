// SPDX-License-Identifier: Apache-2.0
#include "simulated_bus.h"

#include <cstdlib>
#include <memory>
#include <optional>

#include "device/conf_file.h"
#include "device/simulated_camera.h"
#include "usbfs/virtual_bus.h"

namespace {

std::optional<kxsim::TemporaryConfFile> conf;
std::shared_ptr<kxsim::SimulatedCamera> camera;

}  // namespace

void plug_in_camera(const char* options) {
  const auto description = kxsim::parse_camera_options(options);
  setenv("KXUSB_CONF", conf.emplace().path().c_str(), 1);
  camera = std::make_shared<kxsim::SimulatedCamera>(description);
  kxsim::VirtualBus::instance().plug(camera);
}

int unplug_cameras() {
  auto& bus = kxsim::VirtualBus::instance();
  const size_t open = bus.open_nodes();
  bus.unplug_all();
  conf.reset();
  return static_cast<int>(open + camera->counters().unknown);
}

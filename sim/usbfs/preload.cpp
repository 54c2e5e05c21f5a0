// SPDX-License-Identifier: Apache-2.0

// The preloaded form of the front end: plugs in the cameras that the environment describes when the
// program first looks at the bus.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "device/console.h"
#include "device/fault_script.h"
#include "device/view.h"
#include "usbfs/control_socket.h"
#include "usbfs/virtual_bus.h"

namespace kxsim {
namespace {

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::shared_ptr<SimulatedCamera> make_one(std::string_view description, int number, const std::string& scene,
                                          const std::string& faults) {
  auto camera = std::make_shared<SimulatedCamera>(parse_camera_options(description));
  set_view(*camera, scene);
  camera->inject(parse_fault_script(faults, number));
  return camera;
}

ConsoleCamera control(const std::shared_ptr<SimulatedCamera>& camera, int port) {
  const auto plugged = [&camera = *camera] {
    const auto all = VirtualBus::instance().cameras();
    return std::ranges::any_of(all, [&](const auto& one) { return one.get() == &camera; });
  };
  return {.camera = *camera,
          .plug =
              [camera, port, plugged] {
                if (!plugged()) VirtualBus::instance().plug(camera, port);
              },
          .unplug = [camera] { VirtualBus::instance().unplug(*camera); },
          .state = [plugged] { return plugged() ? "plugged in" : "unplugged"; }};
}

/// KXSIM_CAMERAS: one description a line; KXSIM_SCENE: see set_view(); KXSIM_FAULTS: a fault script;
/// KXSIM_SOCKET: where commands come from.
void populate_from_environment() {
  const auto list = variable("KXSIM_CAMERAS");
  const auto scene = variable("KXSIM_SCENE");
  const auto faults = variable("KXSIM_FAULTS");
  std::vector<ConsoleCamera> cameras;
  int number = 0;
  for (std::string_view rest = list; !rest.empty();) {
    const auto end = rest.find('\n');
    const auto line = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    if (line.empty()) continue;
    const auto camera = make_one(line, ++number, scene, faults);
    VirtualBus::instance().plug(camera, number);
    cameras.push_back(control(camera, number));
  }
  try {
    serve_control_socket(variable("KXSIM_SOCKET"), Console(std::move(cameras)));
  } catch (const std::system_error&) {
    // Another process of the command takes the commands.
  }
}

[[maybe_unused]] const bool registered = [] {
  VirtualBus::instance().on_first_use([] {
    try {
      populate_from_environment();
    } catch (const std::exception& error) {
      std::fprintf(stderr, "kxsim: %s\n", error.what());
    }
  });
  return true;
}();

}  // namespace
}  // namespace kxsim

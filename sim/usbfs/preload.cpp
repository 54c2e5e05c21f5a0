// SPDX-License-Identifier: Apache-2.0

// The preloaded form of the front end: plugs in the cameras that the environment describes when the
// program first looks at the bus.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>

#include "device/fault_script.h"
#include "device/view.h"
#include "usbfs/virtual_bus.h"

namespace kxsim {
namespace {

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

void plug_one(std::string_view description, int number, const std::string& scene, const std::string& faults) {
  auto camera = std::make_shared<SimulatedCamera>(parse_camera_options(description));
  set_view(*camera, scene);
  camera->inject(parse_fault_script(faults, number));
  VirtualBus::instance().plug(std::move(camera));
}

/// KXSIM_CAMERAS: one description a line; KXSIM_SCENE: see set_view(); KXSIM_FAULTS: a fault script.
void populate_from_environment() {
  const auto list = variable("KXSIM_CAMERAS");
  const auto scene = variable("KXSIM_SCENE");
  const auto faults = variable("KXSIM_FAULTS");
  int number = 0;
  for (std::string_view rest = list; !rest.empty();) {
    const auto end = rest.find('\n');
    const auto line = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    if (!line.empty()) plug_one(line, ++number, scene, faults);
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

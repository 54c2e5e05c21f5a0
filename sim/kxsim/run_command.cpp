// SPDX-License-Identifier: Apache-2.0
#include "kxsim/run_command.h"

#include <cstdlib>
#include <stdexcept>

#include <unistd.h>

#include "device/camera_options.h"
#include "device/view.h"
#include "kxsim/child_process.h"
#include "kxsim/companion.h"
#include "kxsim/fault_option.h"
#include "scene/scene.h"

namespace kxsim {
namespace {

std::string check_cameras(const std::vector<std::string>& cameras) {
  if (cameras.empty()) return "0x3500";
  std::string lines;
  for (const auto& camera : cameras) {
    parse_camera_options(camera);
    if (camera.find('\n') != std::string::npos)
      throw std::runtime_error("a camera's description is one line");
    lines += camera + "\n";
  }
  return lines;
}

std::string check_scene(const std::string& scene) {
  if (is_built_in_view(scene)) return scene;
  load_scene(scene);
  return std::filesystem::absolute(scene).string();
}

void set_variable(const char* name, const std::string& value) {
  setenv(name, value.c_str(), 1);
}

void preload(const std::filesystem::path& module) {
  const char* const others = std::getenv("LD_PRELOAD");
  const bool any = others != nullptr && *others != '\0';
  set_variable("LD_PRELOAD", any ? module.string() + ":" + others : module.string());
}

}  // namespace

int run_command(const RunOptions& options) {
  set_variable("KXSIM_CAMERAS", check_cameras(options.cameras));
  set_variable("KXSIM_SCENE", check_scene(options.scene));
  set_variable("KXSIM_FAULTS", read_fault_option(options.faults));
  const auto module = find_companion("libkxsim-usbfs.so");
  set_variable("KXUSB_CONF", (options.conf.empty() ? find_companion("kxsim.conf") : options.conf).string());
  // An abstract name, of which nothing is left when the program ends.
  setenv("KXSIM_SOCKET", ("@kxsim-" + std::to_string(getpid())).c_str(), 0);
  preload(module);
  return run_child(options.command);
}

}  // namespace kxsim

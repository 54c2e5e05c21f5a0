// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "device/simulated_camera.h"

namespace kxsim {

/// A camera that commands reach, and how its cable is handled.
struct ConsoleCamera {
  SimulatedCamera& camera;
  std::function<void()> plug;
  std::function<void()> unplug;
  std::function<std::string()> state;  ///< in a word or two
};

/// What can be done with running cameras by lines of text:
///
///     plug [N]           put the cable of camera N in again
///     unplug [N]         pull it
///     fault SCRIPT       add to what goes wrong
///     clear-faults       nothing goes wrong any more
///     light [N] LEVEL    how bright the scene is, or off
///     trigger [N]        a pulse on the external trigger line
///     status             a line about each camera
///     quit
///
/// N counts from 1; without it a command means the only camera, or as to light all of them.
class Console {
 public:
  explicit Console(std::vector<ConsoleCamera> cameras) : cameras_(std::move(cameras)) {}

  /// Executes a line and returns the answer, one or several lines.
  std::string execute(std::string_view line);
  bool quit() const { return quit_; }

 private:
  void execute(std::string_view word, std::string_view rest);
  const ConsoleCamera& camera(std::string_view number) const;
  void inject(std::string_view script) const;
  void light(std::string_view words) const;
  std::string status() const;

  std::vector<ConsoleCamera> cameras_;
  bool quit_ = false;
};

}  // namespace kxsim

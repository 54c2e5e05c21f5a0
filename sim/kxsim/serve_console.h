// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "usbredir/camera_port.h"

namespace kxsim {

/// What can be done with served cameras by lines of text:
///
///     plug [N]        put the cable of camera N in again
///     unplug [N]      pull it
///     fault SCRIPT    add to what goes wrong
///     mend            nothing goes wrong any more
///     status          a line about each camera
///     quit
///
/// N counts from 1 and may be left out where there is one camera.
class ServeConsole {
 public:
  explicit ServeConsole(std::span<const std::unique_ptr<CameraPort>> ports) : ports_(ports) {}

  /// Executes a line and returns the answer, one or several lines.
  std::string execute(std::string_view line);
  bool quit() const { return quit_; }

 private:
  CameraPort& port(std::string_view number) const;
  void inject(std::string_view script) const;
  std::string status() const;

  std::span<const std::unique_ptr<CameraPort>> ports_;
  bool quit_ = false;
};

}  // namespace kxsim

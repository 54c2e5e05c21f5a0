// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <vector>

#include "input.h"
#include "script.h"
#include "scripted_camera.h"

namespace kxcam {

/// The bus that the library finds behind the functions of libusb while this object lives. What breaks
/// libusb's contract ends the process: a handle, a device or a list used after its end or left without one,
/// a buffer smaller than what may be written to it.
///
/// What goes wrong is up to a script, of which every call takes its part.
class ScriptedBus {
 public:
  /// The front of the input makes the cameras and the script.
  explicit ScriptedBus(Input& input);
  /// The library must have let go of everything.
  ~ScriptedBus();
  ScriptedBus(const ScriptedBus&) = delete;
  ScriptedBus& operator=(const ScriptedBus&) = delete;

  /// Pulls the cable of a camera, or puts it back in; `i` may be any number.
  void toggle_cable(size_t i);

  Script& script() { return script_; }
  std::vector<libusb_device*> attached() const;

 private:
  std::vector<std::unique_ptr<ScriptedCamera>> cameras_;
  std::vector<std::unique_ptr<libusb_device>>
      devices_;  ///< a camera becomes another one when it is plugged in
  Script script_;
};

}  // namespace kxcam

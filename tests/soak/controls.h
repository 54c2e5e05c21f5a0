// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "random.h"
#include "stage.h"

namespace kxcam::soak {

/// Turns every knob of one camera: settings, geometry, snap modes and shots, flushes, stored settings.
class Controls {
 public:
  Controls(Stage& stage, int index, uint64_t seed) : stage_(stage), index_(index), random_(seed) {}

  /// Turns knobs until the run ends.
  void run();

 private:
  void act();
  void change_setting();
  void change_geometry();
  void change_snap_mode();
  void turn();
  void flush();
  void shoot();
  void load_settings();

  Stage& stage_;
  const int index_;
  Random random_;
  bool triggered_ = false;
};

}  // namespace kxcam::soak

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "core/registry/camera_context.h"

namespace kxcam {

/// Values of `snap_mode` that mean something; all but kSnapTriggered are free run.
enum SnapMode : uint8_t {
  kSnapTimed = 1,      ///< free run; the time of the switch is kept
  kSnapTriggered = 2,  ///< a frame per trigger
};

inline bool is_triggered(const CameraContext& camera) {
  return camera.parameter.snap_mode == kSnapTriggered;
}

/// Switches between free run and trigger mode (the low eight bits count) and drops the frames of the old
/// mode. Codes 1, 3, 4; 8 when the sensor cannot be triggered or does not answer, 10 when the bridge refuses:
/// the mode is then not stored.
bool set_snap_mode(int camera, int mode);
/// Mode last set, or -1. Codes 1, 3.
int get_snap_mode(int camera);

/// Frames (on line-scan sensors lines) per trigger, 0..65535 (code 2); 0 counts as 1. Codes 1, 3, 4, and 10
/// or 8 or 11 when the bridge does not take it, which leaves the value stored.
bool set_snap_num(int camera, int count);
/// Count last set, or -1. Codes 1, 3.
int get_snap_num(int camera);

/// Fires one software trigger, after dropping the frames that wait: a query that waits meanwhile gets the
/// triggered frame. Codes 1, 3, 4; 2 outside trigger mode; 8 when the sensor cannot be triggered. The
/// bridge's answer to the pulse does not matter.
bool trigger_shot(int camera);

/// Polarity of the trigger input: 1 is what get_trigger_polarity() reports as true. Codes 1, 3; 4, 8, 11 when
/// the write fails, which leaves the value stored.
bool set_trigger_polarity(int camera, int polarity);
bool get_trigger_polarity(int camera, bool* polarity);

}  // namespace kxcam

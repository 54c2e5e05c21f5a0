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
/// mode. NO_DEVICE; NOT_SUPPORTED when the sensor cannot be triggered or does not answer, READ_REQUEST when
/// the bridge refuses: the mode is then not stored.
bool set_snap_mode(CameraContext& camera, int mode);
int get_snap_mode(const CameraContext& camera);

/// Frames (on line-scan sensors lines) per trigger, 0..65535 (else ARGUMENT); 0 counts as 1. NO_DEVICE, and
/// READ_REQUEST, NOT_SUPPORTED or WRITE_REQUEST when the bridge does not take it, which leaves the value
/// stored.
bool is_snap_num(int count);
bool set_snap_num(CameraContext& camera, int count);
int get_snap_num(const CameraContext& camera);

/// Fires one software trigger, after dropping the frames that wait: a query that waits meanwhile gets the
/// triggered frame. NO_DEVICE; ARGUMENT outside trigger mode; NOT_SUPPORTED when the sensor cannot be
/// triggered. The bridge's answer to the pulse does not matter.
bool trigger_shot(CameraContext& camera);

/// Polarity of the trigger input: 1 is what get_trigger_polarity() reports as true. Fails as isp_write()
/// does, which leaves the value stored.
bool set_trigger_polarity(CameraContext& camera, int polarity);
bool get_trigger_polarity(const CameraContext& camera, bool* polarity);

}  // namespace kxcam

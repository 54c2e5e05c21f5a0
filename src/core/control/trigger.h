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

/// Tells the bridge whether frames wait for a trigger. READ_REQUEST when it refuses.
bool request_trigger_mode(CameraContext& camera, bool triggered);

/// The pulse that starts a triggered frame.
void pulse_trigger_line(CameraContext& camera);

/// Polarity of the trigger input: 1 is what get_trigger_polarity() reports as true. Fails as isp_write()
/// does, which leaves the value stored.
bool set_trigger_polarity(CameraContext& camera, int polarity);
bool get_trigger_polarity(const CameraContext& camera, bool* polarity);

// Times of the bridge's trigger unit, 0 and up (else ARGUMENT), in the unit's own units. Setters store the
// value, also for cameras without a trigger unit; with one the result is that of the write. Getters give -1
// with NOT_SUPPORTED without a trigger unit.
//
// The write goes to camera 0, whatever camera the value is stored for: installations with one trigger
// unit for several cameras rely on it. It fails with NOT_OPEN when there is no camera 0, and as isp_write()
// does.

bool is_unit_time(int value);

bool set_trigger_delay(CameraContext& camera, int value);
int get_trigger_delay(const CameraContext& camera);

bool set_strobe_delay(CameraContext& camera, int value);
int get_strobe_delay(const CameraContext& camera);

bool set_strobe_duration(CameraContext& camera, int value);
int get_strobe_duration(const CameraContext& camera);

bool set_debouncer_time(CameraContext& camera, int value);
int get_debouncer_time(const CameraContext& camera);

/// Sends all four times to the camera's own unit, if it has one.
void write_unit_times(CameraContext& camera);

/// Strobe output. NOT_SUPPORTED when the sensor that drives the line does not answer, which changes nothing.
bool enable_strobe(CameraContext& camera, bool on);
/// State of the switch, which is kept for cameras without a strobe line too; the result says whether
/// there is a line.
bool get_strobe(const CameraContext& camera, bool* on);

/// Polarity of the strobe output, 0 or 1 (else ARGUMENT). NOT_SUPPORTED or the failure of the write, which
/// leave the value stored.
bool is_strobe_polarity(int polarity);
bool set_strobe_polarity(CameraContext& camera, int polarity);
int get_strobe_polarity(const CameraContext& camera);

/// The strobe line of the bridge's trigger unit, where there is one: on or off at the present polarity.
bool write_bridge_strobe(CameraContext& camera, bool on);

}  // namespace kxcam

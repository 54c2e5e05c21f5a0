// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

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

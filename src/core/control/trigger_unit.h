// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

// Times of the bridge's trigger unit, 0 and up, in the unit's own units. Setters store the value, also for
// cameras without a trigger unit; with one the result is that of the write. Codes of all: 1, 3; setters also
// 2 for a value below 0, and 4, 8, 11 of the write; getters 8 without a trigger unit (and return -1).
//
// The write goes to camera 0, whatever camera the value is stored for: installations with one trigger
// unit for several cameras rely on it.

bool set_trigger_delay(int camera, int value);
int get_trigger_delay(int camera);

bool set_strobe_delay(int camera, int value);
int get_strobe_delay(int camera);

bool set_strobe_duration(int camera, int value);
int get_strobe_duration(int camera);

bool set_debouncer_time(int camera, int value);
int get_debouncer_time(int camera);

struct CameraContext;

/// Strobe output. Codes 1, 3; 8 when the sensor that drives the line does not answer, which changes nothing.
bool enable_strobe(int camera, bool on);
/// State of the switch, which is kept for cameras without a strobe line too; the result says whether
/// there is a line. Codes 1, 3.
bool get_strobe(int camera, bool* on);

/// Polarity of the strobe output, 0 or 1 (code 2). Codes 1, 3; 8 or that of the write when it fails, which
/// leaves the value stored.
bool set_strobe_polarity(int camera, int polarity);
/// Polarity last set, or -1. Codes 1, 3.
int get_strobe_polarity(int camera);

/// The strobe line of the bridge's trigger unit, where there is one: on or off at the present polarity.
bool write_bridge_strobe(CameraContext& camera, bool on);

}  // namespace kxcam

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

}  // namespace kxcam

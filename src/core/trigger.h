// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

/// Fires one software trigger, after dropping the frames that wait: a query that waits meanwhile gets the
/// triggered frame. Codes 1, 3, 4; 2 outside trigger mode; 8 when the sensor cannot be triggered. The
/// bridge's answer to the pulse does not matter.
bool trigger_shot(int camera);

/// Polarity of the trigger input: 1 is what get_trigger_polarity() reports as true. Codes 1, 3; 4, 8, 11 when
/// the write fails, which leaves the value stored.
bool set_trigger_polarity(int camera, int polarity);
bool get_trigger_polarity(int camera, bool* polarity);

}  // namespace kxcam

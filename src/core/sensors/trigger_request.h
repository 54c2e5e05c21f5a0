// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

/// Tells the bridge whether frames wait for a trigger. Code 10 when it refuses.
bool request_trigger_mode(CameraContext& camera, bool triggered);

/// The pulse that starts a triggered frame.
void pulse_trigger_line(CameraContext& camera);

/// The whole switch for sensors that the bridge triggers and must restart on the way into trigger mode. The
/// bridge's answer does not matter.
bool switch_bridge_trigger(CameraContext& camera, bool triggered);

/// The whole switch for sensors that need a millisecond to follow. The bridge's answer does not matter.
bool switch_trigger_and_settle(CameraContext& camera, bool triggered);

}  // namespace kxcam

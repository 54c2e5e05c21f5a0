// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

/// Trigger mode of sensors that stop streaming by a bit of register 0x301A while the bridge waits for the
/// trigger.
bool switch_streaming_bit(CameraContext& camera, bool triggered);

}  // namespace kxcam

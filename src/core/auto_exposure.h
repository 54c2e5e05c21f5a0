// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

/// One run of the exposure loop, once per processed frame after `mean_level` was measured: every fourth frame
/// it moves exposure and gain towards `ae_target`. False when a register write failed.
///
/// After a step the loop waits one run for the picture to answer, unless it has answered already.
bool AutoExposure(CameraContext& camera);

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

struct CameraContext;

/// Automatic exposure and gain. Where the bridge has a loop of its own and that is available, automatic
/// exposure is the bridge's. Switching moves the next run of the software loop by some frames. Getters give
/// 0 or 1.
bool bridge_has_loop(const CameraContext& camera);
bool set_aec(CameraContext& camera, bool on);
int get_aec(const CameraContext& camera);
bool set_agc(CameraContext& camera, bool on);
int get_agc(const CameraContext& camera);

/// Mean level that both loops aim at, 0..255 (else ARGUMENT). The result is that of the write on cameras
/// whose bridge has a loop.
bool is_ae_target(int level);
bool set_ae_target(CameraContext& camera, int level);
int get_ae_target(const CameraContext& camera);

/// Mean level of the last processed frame, 0 and up.
int get_avg(const CameraContext& camera);

/// 1: exposures in half-periods of 50 Hz mains; 2: of 60 Hz; anything else: off, reported as 0.
bool set_anti_flicker(CameraContext& camera, int mode);
int get_anti_flicker(const CameraContext& camera);

/// One run of the exposure loop, once per processed frame after `mean_level` was measured: every fourth frame
/// it moves exposure and gain towards `ae_target`. False when a register write failed.
///
/// After a step the loop waits one run for the picture to answer, unless it has answered already.
bool AutoExposure(CameraContext& camera);

}  // namespace kxcam

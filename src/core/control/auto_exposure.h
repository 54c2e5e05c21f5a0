// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kxcam {

// Codes of all: 1, 3. Getters return -1 on failure.

/// Automatic exposure and gain. Where the bridge has a loop of its own and that is available, automatic
/// exposure is the bridge's. Switching moves the next run of the software loop by some frames.
bool set_aec(int camera, bool on);
int get_aec(int camera);
bool set_agc(int camera, bool on);
int get_agc(int camera);

/// Mean level that both loops aim at, 0..255 (code 2). The result is that of the write on cameras whose
/// bridge has a loop.
bool set_ae_target(int camera, int target);
int get_ae_target(int camera);

/// Mean level of the last processed frame, 0 and up.
int get_avg(int camera);

/// 1: exposures in half-periods of 50 Hz mains; 2: of 60 Hz; anything else: off, reported as 0.
bool set_anti_flicker(int camera, int mode);
int get_anti_flicker(int camera);

struct CameraContext;

/// One run of the exposure loop, once per processed frame after `mean_level` was measured: every fourth frame
/// it moves exposure and gain towards `ae_target`. False when a register write failed.
///
/// After a step the loop waits one run for the picture to answer, unless it has answered already.
bool AutoExposure(CameraContext& camera);

}  // namespace kxcam

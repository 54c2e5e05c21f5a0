// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "kxcam/kxcam.h"

namespace kxcam {

/// Fills a slot with a camera without a device: the model with that product id, or the first one, its full
/// frame and the settings of `param`, or those of an ISPParam that was never touched when null. A setting out
/// of its range keeps its initial value. Fails with INDEX, or IN_USE when the slot is taken.
///
/// The colour matrix is stored and takes effect with the next set_saturation() or set_enhancement(): with
/// `enhancement` the picture is black until then.
bool init_camera_virtual(int index, int product_id, const ISPParam* param);

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "isp/flat_field.h"
#include "isp/image_view.h"
#include "isp/kernels/row_kernels.h"

namespace kxcam {

/// apply_flat_field() and despeckle(), bit for bit, in one pass over the frame. `field` may be null.
/// False when the tables do not cover the frame; nothing is done then.
bool fast_corrections(const RowKernels& kernels, const MutableImageView& frame, const FlatField* field,
                      int32_t x0, int32_t y0, bool despeckled);

}  // namespace kxcam

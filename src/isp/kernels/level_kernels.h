// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "isp/kernels/cpu_level.h"
#include "isp/kernels/row_kernels.h"

namespace kxcam {

/// The kernels of a level; null for kScalar, which has none.
const RowKernels* kernels_of(CpuLevel level);

}  // namespace kxcam

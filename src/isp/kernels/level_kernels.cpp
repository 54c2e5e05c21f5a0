// SPDX-License-Identifier: Apache-2.0

// Apart from cpu_level.cpp, which programs use that have no kernels.

#include "isp/kernels/cpu_level.h"
#include "isp/kernels/row_kernels.h"

namespace kxcam {

const RowKernels* kernels_of(CpuLevel level) {
  switch (level) {
    case CpuLevel::kSsse3:
      return &kSsse3Kernels;
    case CpuLevel::kAvx2:
      return &kAvx2Kernels;
    case CpuLevel::kAvx512:
      return &kAvx512Kernels;
    default:
      return nullptr;
  }
}

}  // namespace kxcam

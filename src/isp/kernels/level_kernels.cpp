// SPDX-License-Identifier: Apache-2.0
#include "isp/kernels/level_kernels.h"

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

// SPDX-License-Identifier: Apache-2.0
#include "isp/kernels/cpu_level.h"

#include <cstdlib>

namespace kxcam {
namespace {

CpuLevel best_level() {
  auto best = CpuLevel::kScalar;
  for (const CpuLevel level : kCpuLevels) {
    if (is_available(level)) best = level;
  }
  return best;
}

}  // namespace

std::string_view name_of(CpuLevel level) {
  switch (level) {
    case CpuLevel::kSsse3:
      return "ssse3";
    case CpuLevel::kAvx2:
      return "avx2";
    case CpuLevel::kAvx512:
      return "avx512";
    default:
      return "scalar";
  }
}

bool is_available(CpuLevel level) {
  switch (level) {
    case CpuLevel::kSsse3:
      return __builtin_cpu_supports("ssse3") != 0;
    case CpuLevel::kAvx2:
      return __builtin_cpu_supports("avx2") != 0;
    case CpuLevel::kAvx512:
      return __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vbmi") != 0;
    default:
      return true;
  }
}

CpuChoice choose_cpu_level(std::string_view wish) {
  for (const CpuLevel level : kCpuLevels) {
    if (name_of(level) == wish && is_available(level)) return {level, false};
  }
  return {best_level(), !wish.empty()};
}

CpuChoice cpu_choice() {
  static const CpuChoice choice = [] {
    const char* wish = secure_getenv("KXCAM_CPU");
    return choose_cpu_level(wish != nullptr ? wish : "");
  }();
  return choice;
}

}  // namespace kxcam

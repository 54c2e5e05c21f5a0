// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <string_view>

namespace kxcam {

/// Instruction sets that the pipeline is built for, each including those before it.
enum class CpuLevel { kScalar, kSsse3, kAvx2, kAvx512 };

inline constexpr std::array kCpuLevels = {CpuLevel::kScalar, CpuLevel::kSsse3, CpuLevel::kAvx2,
                                          CpuLevel::kAvx512};

/// "scalar", "ssse3", "avx2", "avx512".
std::string_view name_of(CpuLevel level);

/// Whether this processor and its operating system can run a level.
bool is_available(CpuLevel level);

struct CpuChoice {
  CpuLevel level;
  bool refused;  ///< another level was asked for, but is unknown or not available here
};

/// The level that is used when `wish` names the wanted one: the best available one when it is empty,
/// unknown or not available.
CpuChoice choose_cpu_level(std::string_view wish);

/// The choice of this process, by the variable KXCAM_CPU as it was at the first call. Thread-safe.
CpuChoice cpu_choice();

}  // namespace kxcam

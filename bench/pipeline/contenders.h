// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "isp/frame_memory.h"
#include "isp/kernels/cpu_level.h"
#include "measurement.h"
#include "scenes.h"

namespace kxcam::bench {

/// A raw frame and room for what is made of it.
struct Buffers {
  Buffers(int width, int height, uint32_t seed);

  /// Corrections change the frame, so every run begins with one of these.
  std::array<std::vector<uint8_t>, kScenes.size()> scenes;
  std::vector<uint8_t> raw;   ///< two frames' worth, to copy as many bytes as a picture moves
  std::vector<uint8_t> out;   ///< a colour picture
  std::vector<uint8_t> more;  ///< another one, for methods that need it
  WorkMemory memory;
};

/// Names of tasks that others are compared with.
inline constexpr const char* kDemosaic = "demosaic";
inline constexpr const char* kCopyForColor = "copy as much as a colour picture moves";
inline constexpr const char* kCopyForGrey = "copy as much as a grey picture moves";

/// Everything that is timed on frames of a size. `sets` has to outlive it.
std::vector<Contender> contenders(int width, int height, std::vector<Buffers>& sets,
                                  const std::vector<CpuLevel>& levels);

}  // namespace kxcam::bench

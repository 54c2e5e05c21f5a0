// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

/// Bits of `feature_bits`, the capability word of newer firmware.
enum FeatureBit : uint16_t {
  kTriggerUnit = 0x1,         ///< the bridge times trigger and strobe
  kBridgeAutoExposure = 0x2,  ///< the bridge can run an exposure loop of its own
  kGlobalReset = 0x4,         ///< all rows can start exposing together
};

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kxcam {

/// Bits of `open_flags`.
enum OpenFlag : int32_t {
  kOpenWithoutAcquisition = 0x1,  ///< no ring, no work tables, no reader
  kOpenInvertMirrorY = 0x2,       ///< the sense of mirror Y is inverted in the picture
};

}  // namespace kxcam

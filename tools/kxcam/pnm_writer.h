// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "picture.h"

namespace kxcam {

/// The picture as a binary PPM (three channels) or PGM file (one); 12-bit samples are written as they
/// are, big-endian, with 4095 as full scale.
std::vector<uint8_t> encode_pnm(const Picture& picture);

}  // namespace kxcam

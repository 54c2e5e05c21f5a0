// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "picture.h"

namespace kxcam {

/// The picture as a PNG file: 8-bit RGB or grey; 12-bit samples s become 16-bit grey s << 4 | s >> 8,
/// which is full scale for full scale and keeps all bits. Throws std::runtime_error.
std::vector<uint8_t> encode_png(const Picture& picture);

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "preview.h"

namespace kxcam::view {

/// The whole file. Throws std::runtime_error.
std::string encode_jpeg(const Preview& preview, int quality);

}  // namespace kxcam::view

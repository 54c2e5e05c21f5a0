// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kxcam {

/// A text that a device or a file holds, fit for a terminal: every byte that is not printable ASCII, among
/// them those of escape sequences, becomes a '?'.
std::string printable(std::string text);

}  // namespace kxcam

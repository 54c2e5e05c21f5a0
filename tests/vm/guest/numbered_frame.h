// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace vm {

/// The number of a frame of `kxsim serve --scene numbers` if every byte of it is as it was sent; else
/// nothing. A frame has at least four bytes.
std::optional<uint32_t> read_numbered_frame(std::span<const uint8_t> frame);

/// Of which parts of which frames it consists, where it is not one frame.
std::string parts_of(std::span<const uint8_t> frame);

}  // namespace vm

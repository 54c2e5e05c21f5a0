// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace vm {

/// The number of a frame of `kxsim serve --scene numbers` if every byte of it is as it was sent; else
/// nothing, with the place of the first wrong block in `wrong`. A frame has at least four bytes.
std::optional<uint32_t> read_numbered_frame(std::span<const uint8_t> frame, size_t& wrong);

}  // namespace vm

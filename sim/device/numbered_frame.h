// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

#include "device/frame_maker.h"

namespace kxsim {

/// Fills a frame with 32-bit little-endian words: the frame's number n, then in place i = 1, 2, ... the word
/// (i + n * 0x9E3779B1) * 0x85EBCA6B modulo 2^32; what is left over at the end takes the first bytes of one
/// more. No word occurs twice, so that a receiver can tell by itself which byte of which frame it has.
void fill_numbered_frame(const FrameRequest& request, std::span<uint8_t> out);

}  // namespace kxsim

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <kxcam/extra.h>

namespace kxcam::verify {

/// A frame or picture with what the library says about it.
struct Frame {
  std::vector<uint8_t> bytes;
  kxcam_frame info{};
};

/// Takes the next frame that arrives from now on, so that a change made before shows in it. Returns the
/// library's code.
int take_fresh(int camera, int format, int timeout_ms, Frame& frame);

/// Queries once, with whatever waits already.
int take_next(int camera, int format, int timeout_ms, Frame& frame);

/// Mean of all bytes.
double mean_level(std::span<const uint8_t> bytes);

/// What is wrong with a frame of `kxsim --scene numbers`, in which every byte follows from the first word;
/// nothing when it is whole.
std::optional<std::string> numbered_frame_fault(std::span<const uint8_t> frame);

}  // namespace kxcam::verify

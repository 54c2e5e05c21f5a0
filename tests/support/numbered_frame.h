// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "device/numbered_frame.h"

namespace kxcam::test {

/// The bytes of kxsim::fill_numbered_frame().
inline std::vector<uint8_t> numbered(uint64_t number, size_t bytes) {
  std::vector<uint8_t> frame(bytes);
  kxsim::FrameRequest request;
  request.number = number;
  kxsim::fill_numbered_frame(request, frame);
  return frame;
}

/// Number of such a frame, or -1.
inline int number_of(const std::vector<uint8_t>& frame) {
  uint32_t number = 0;
  if (frame.size() < sizeof number) return -1;
  std::memcpy(&number, frame.data(), sizeof number);
  return frame == numbered(number, frame.size()) ? static_cast<int>(number) : -1;
}

}  // namespace kxcam::test

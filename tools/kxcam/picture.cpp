// SPDX-License-Identifier: Apache-2.0
#include "picture.h"

#include <algorithm>
#include <stdexcept>

namespace kxcam {

void check(const Picture& picture) {
  const bool plausible = picture.width > 0 && picture.height > 0 &&
                         (picture.channels == 1 || (picture.channels == 3 && picture.bits == 8)) &&
                         (picture.bits == 8 || picture.bits == 12);
  const auto samples = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) *
                       static_cast<std::size_t>(picture.channels);
  if (!plausible ||
      picture.samples.size() != samples * static_cast<std::size_t>(picture.bytes_per_sample())) {
    throw std::invalid_argument("the size of the picture does not fit its samples");
  }
}

uint16_t sample12(const Picture& picture, std::size_t i) {
  const int sample = picture.samples[2 * i] | picture.samples[2 * i + 1] << 8;
  return static_cast<uint16_t>(std::min(sample, 0xFFF));
}

}  // namespace kxcam

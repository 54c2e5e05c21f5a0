// SPDX-License-Identifier: Apache-2.0
#include "pnm_writer.h"

#include <iterator>

#include <fmt/format.h>

namespace kxcam {
namespace {

void append_big_endian(std::vector<uint8_t>& file, const Picture& picture) {
  for (std::size_t i = 0; i < picture.samples.size() / 2; ++i) {
    const uint16_t sample = sample12(picture, i);
    file.push_back(static_cast<uint8_t>(sample >> 8));
    file.push_back(static_cast<uint8_t>(sample));
  }
}

}  // namespace

std::vector<uint8_t> encode_pnm(const Picture& picture) {
  check(picture);
  std::vector<uint8_t> file;
  file.reserve(32 + picture.samples.size());
  fmt::format_to(std::back_inserter(file), "P{}\n{} {}\n{}\n", picture.channels == 3 ? 6 : 5, picture.width,
                 picture.height, (1 << picture.bits) - 1);
  if (picture.bits == 8) {
    file.insert(file.end(), picture.samples.begin(), picture.samples.end());
  } else {
    append_big_endian(file, picture);
  }
  return file;
}

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <iterator>
#include <limits>

#include "input.h"

namespace kxcam {

/// Mostly what settings take, with the ends of wider ranges among them.
inline int any_int(Input& input) {
  using Limits = std::numeric_limits<int>;
  constexpr int kEnds[] = {-1, 256, 4095, 4096, 65535, 65536, 100000, 0x1FFF, Limits::max(), Limits::min()};
  const int choice = input.byte();
  if (choice < 0xC0) return choice;
  if (choice < 0xE0) return input.word();
  if (choice < 0xF0) return input.int32();
  return kEnds[static_cast<size_t>(choice) % std::size(kEnds)];
}

/// Mostly what settings take.
inline double any_real(Input& input) {
  const int choice = input.byte();
  return choice < 0xF0 ? choice / 64.0 : input.real();
}

}  // namespace kxcam

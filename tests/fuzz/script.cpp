// SPDX-License-Identifier: Apache-2.0
#include "script.h"

namespace kxcam {

Mishap Script::next() {
  if (calls_that_go_well_ > 0) {
    --calls_that_go_well_;
    return Mishap::kNone;
  }
  if (input_.empty()) return Mishap::kNone;
  const int direction = input_.byte();
  if (direction < 0x80) return static_cast<Mishap>(direction % 8);
  calls_that_go_well_ = 4 * (direction - 0x80) + 3;
  return Mishap::kNone;
}

std::span<const uint8_t> Script::forgery(size_t most) {
  const size_t wanted = input_.byte();
  return input_.take(std::min(wanted, most));
}

}  // namespace kxcam

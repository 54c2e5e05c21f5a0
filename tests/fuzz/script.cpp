// SPDX-License-Identifier: Apache-2.0
#include "script.h"

namespace kxcam {
namespace {

constexpr int kFirstWait = 0x60;
constexpr int kFirstRun = 0x80;
constexpr int kMishaps = 8;

}  // namespace

Mishap Script::next(uint8_t kind) {
  for (;;) {
    if (awaited_.value_or(kind) != kind) return Mishap::kNone;
    awaited_.reset();
    if (calls_that_go_well_ > 0) {
      --calls_that_go_well_;
      return Mishap::kNone;
    }
    const int direction = input_.empty() ? kFirstRun : input_.byte();
    if (direction >= kFirstRun) {
      calls_that_go_well_ = 4 * (direction - kFirstRun);
      return Mishap::kNone;
    }
    if (direction < kFirstWait) return static_cast<Mishap>(direction % kMishaps);
    awaited_ = static_cast<uint8_t>(kStream + direction - kFirstWait);
  }
}

std::span<const uint8_t> Script::forgery(size_t most) {
  const size_t wanted = input_.byte();
  return input_.take(std::min(wanted, most));
}

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#include "violations.h"

#include <cstdio>

#include <fmt/format.h>

namespace kxcam::soak {

void Violations::add(const std::string& what) {
  constexpr uint64_t kMostPrinted = 100;
  if (++count_ <= kMostPrinted) fmt::print(stderr, "VIOLATION: {}\n", what);
  std::fflush(stderr);
}

}  // namespace kxcam::soak

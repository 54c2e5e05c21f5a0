// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <cstdlib>

namespace kxcam {

/// Ends the process, so that the fuzzer keeps the input, unless `met`.
inline void require(bool met, const char* what) {
  if (met) return;
  std::fprintf(stderr, "not met: %s\n", what);
  std::abort();
}

}  // namespace kxcam

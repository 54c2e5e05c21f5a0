// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace kxcam::faults {

/// How much of all that can go wrong is tried.
struct Effort {
  int workers;      ///< processes at once; a thread sanitizer spins when there are many
  uint64_t step;    ///< every so many-th request or read; prime to the ten kinds, so that all have their turn
  size_t kinds;     ///< so many kinds of fault for each, others for the next
  size_t first;     ///< kind to begin with, so that builds differ in what each n meets
  int pairs;        ///< cases with two faults, per worker
  bool long_waits;  ///< operations on a camera that never answers, half a minute each
};

/// Everything, with KXCAM_EVERY_FAULT=1 in the environment: about five minutes. Otherwise what a check has
/// time for.
inline Effort effort() {
#if defined(KXCAM_THREAD_SANITIZER)
  Effort effort{.workers = 12, .step = 7, .kinds = 1, .first = 2, .pairs = 2, .long_waits = false};
#elif defined(KXCAM_ADDRESS_SANITIZER)
  Effort effort{.workers = 24, .step = 1, .kinds = 1, .first = 0, .pairs = 2, .long_waits = false};
#else
  Effort effort{.workers = 32, .step = 1, .kinds = 1, .first = 5, .pairs = 3, .long_waits = false};
#endif
  const char* all = std::getenv("KXCAM_EVERY_FAULT");
  if (all != nullptr && std::string_view(all) == "1") {
    effort.step = 1;
    effort.kinds = SIZE_MAX;
    effort.pairs *= 8;
    effort.long_waits = true;
  }
  return effort;
}

}  // namespace kxcam::faults

// SPDX-License-Identifier: Apache-2.0
#include "usb/last_error.h"

#include <atomic>

int last_error = KXCAM_ERROR_NONE_YET;

namespace kxcam {

// The exported word is a plain int for C programs; inside, every access is atomic.
void set_last_error(kxcam_error code) {
  std::atomic_ref(last_error).store(code, std::memory_order_relaxed);
}

int get_last_error() {
  return std::atomic_ref(last_error).load(std::memory_order_relaxed);
}

}  // namespace kxcam

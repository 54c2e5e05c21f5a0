// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

#include "kxcam/kxcam.h"

namespace kxcam {

// The exported word is a plain int for C programs; inside, every access is atomic.

/// The cause of the calling thread's present call: 0 until one is stored, here or by set_last_error().
inline int& thread_error() {
  thread_local int code = 0;
  return code;
}

/// While one lives, what the calling thread tries in vain leaves the exported `last_error` as it is.
class LastErrorKept {
 public:
  LastErrorKept() { ++count(); }
  ~LastErrorKept() { --count(); }
  LastErrorKept(const LastErrorKept&) = delete;
  LastErrorKept& operator=(const LastErrorKept&) = delete;

  static int& count() {
    thread_local int alive = 0;
    return alive;
  }
};

/// Stores the cause of a failure in the exported `last_error`.
inline void set_last_error(kxcam_error code) {
  thread_error() = code;
  if (LastErrorKept::count() > 0) return;
  std::atomic_ref(last_error).store(code, std::memory_order_relaxed);
}

/// Stores the cause and returns false: `return fail(KXCAM_ERROR_ARGUMENT);`.
inline bool fail(kxcam_error code) {
  set_last_error(code);
  return false;
}

inline int get_last_error() {
  return std::atomic_ref(last_error).load(std::memory_order_relaxed);
}

}  // namespace kxcam

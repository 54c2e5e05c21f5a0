// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "api/boundary.h"
#include "kxcam/extra.h"

namespace kxcam::api {

/// Stores a cause that `last_error` never holds, and returns false.
inline bool fail_extra(kxcam_extra_error code) {
  thread_error() = code;
  return false;
}

/// run() for the functions that return the cause itself.
template <class Operation>
int cause_of(Operation operation) noexcept {
  if (run(operation) == kSuccess) return 0;
  // Nothing but the system leaves these functions without a code.
  if (thread_error() == kNoCode) thread_error() = KXCAM_ERROR_SYSTEM;
  return thread_error();
}

/// with_camera_if() likewise. `pointers`: those that must not be null are not.
template <class Operation>
int cause_with_camera(int index, bool pointers, Operation operation) noexcept {
  return cause_of([&] {
    const ContextRef camera = find_camera_if(index, pointers);
    return pointers && camera != nullptr && operation(*camera);
  });
}

/// Hands out as much of `from` as the program knows; what only the program knows becomes 0.
template <class Struct>
void hand_out(const Struct& from, void* to, size_t size) {
  static_assert(std::is_trivially_copyable_v<Struct>);
  const size_t known = std::min(size, sizeof from);
  std::memcpy(to, &from, known);
  std::memset(static_cast<std::byte*>(to) + known, 0, size - known);
}

/// Writes text with its end, cut where it does not fit.
template <size_t N>
void copy_text(char (&to)[N], const char* from) {
  const size_t length = strnlen(from, N - 1);
  std::memcpy(to, from, length);
  to[length] = '\0';
}

/// Bit n: the camera at that index offers control n of kxcam_get_control(). Nothing is sent to it.
uint64_t offered_controls(int camera);

}  // namespace kxcam::api

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "kxcam/kxcam.h"

// How the results of internal operations become those of the exported functions. Every export is one
// of these calls around one operation, so that nothing is ever thrown into a C program.
namespace kxcam::api {

inline constexpr uint32_t kSuccess = 0;
inline constexpr uint32_t kFailure = 1;

/// Operation with a boolean result.
template <class Operation>
uint32_t run(Operation operation) noexcept {
  try {
    return operation() ? kSuccess : kFailure;
  } catch (...) {
    return kFailure;
  }
}

/// Getter with a result that is negative on failure, else the value; works for int and double alike.
template <class Value, class Getter>
uint32_t get(Value* output, Getter getter) noexcept {
  return run([&] {
    const auto value = getter();
    if (value < 0) return false;
    *output = value;
    return true;
  });
}

/// Getter of a switch as 0 or 1, negative on failure. The output becomes false on failure too.
template <class Getter>
uint32_t get_switch(bool* output, Getter getter) noexcept {
  return run([&] {
    const int value = getter();
    *output = value > 0;
    return value >= 0;
  });
}

}  // namespace kxcam::api

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <type_traits>

#include <gtest/gtest.h>

#include "kxcam/kxcam.h"

namespace kxcam::test {

/// Whether an exported call succeeded.
inline bool ok(uint32_t result) {
  return result == 0;
}

/// What a getter reports; it must succeed.
template <class T>
T get(uint32_t (*getter)(int, T*), int camera) {
  T value{};
  EXPECT_EQ(getter(camera, &value), 0U) << "error " << last_error;
  return value;
}

/// Code of the failure of an exported call; 0 when it succeeds.
template <class... Parameters>
int code_of(uint32_t (*function)(Parameters...), std::type_identity_t<Parameters>... arguments) {
  last_error = KXCAM_ERROR_NONE_YET;
  return function(arguments...) == 0 ? 0 : last_error;
}
template <class T>
int code_of(uint32_t (*getter)(int, T*), int camera) {
  T value{};
  return code_of(getter, camera, &value);
}

/// The same for a call that is not exported.
template <class Call>
requires std::is_invocable_r_v<bool, Call>
int code_of(Call call) {
  last_error = KXCAM_ERROR_NONE_YET;
  return call() ? 0 : last_error;
}

}  // namespace kxcam::test

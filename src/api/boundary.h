// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include <pthread.h>

#include "core/registry/contexts.h"
#include "kxcam/kxcam.h"
#include "usb/last_error.h"

// How a call comes in and its result goes out. Every export is one of these calls around one operation: the
// camera is looked up here, once, in the order index (INDEX), argument (ARGUMENT), presence (NOT_OPEN), and
// nothing is ever thrown into a C program.
namespace kxcam::api {

inline constexpr uint32_t kSuccess = 0;
inline constexpr uint32_t kFailure = 1;
/// What a thread's error is after a failure without a code.
inline constexpr int kNoCode = -1;

/// A thread that is cancelled in a call ends after it: unwinding half of an operation would leave the camera
/// in no state at all.
class CancellationDeferred {
 public:
  CancellationDeferred() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_); }
  CancellationDeferred(const CancellationDeferred&) = delete;
  ~CancellationDeferred() { pthread_setcancelstate(previous_, nullptr); }

 private:
  int previous_ = PTHREAD_CANCEL_ENABLE;
};

/// Operation with a boolean result that needs no open camera, or finds its own.
template <class Operation>
uint32_t run(Operation operation) noexcept {
  const CancellationDeferred whole_calls;
  thread_error() = 0;
  bool succeeded = false;
  try {
    succeeded = operation();
  } catch (...) {  // without a code
  }
  if (succeeded) {
    thread_error() = 0;
    return kSuccess;
  }
  if (thread_error() == 0) thread_error() = kNoCode;
  return kFailure;
}

/// Operation with a boolean result on the camera at that index.
template <class Operation, class... Arguments>
uint32_t with_camera_if(int index, bool argument_in_range, Operation operation,
                        Arguments... arguments) noexcept {
  return run([&] {
    const ContextRef camera = find_camera_if(index, argument_in_range);
    return camera != nullptr && operation(*camera, arguments...);
  });
}

/// The same for an operation that takes any argument.
template <class Operation, class... Arguments>
uint32_t with_camera(int index, Operation operation, Arguments... arguments) noexcept {
  return with_camera_if(index, true, operation, arguments...);
}

/// Getter with a result that is negative on failure, else the value; works for int and double alike.
template <class Value, class Getter>
uint32_t get(int index, Value* output, Getter getter) noexcept {
  return with_camera(index, [&](CameraContext& camera) {
    const auto value = getter(camera);
    if (value < 0) return false;
    *output = value;
    return true;
  });
}

/// Getter of a switch as 0 or 1, negative on failure. The output becomes false on failure too.
template <class Getter>
uint32_t get_switch(int index, bool* output, Getter getter) noexcept {
  *output = false;
  return with_camera(index, [&](CameraContext& camera) {
    const int value = getter(camera);
    *output = value > 0;
    return value >= 0;
  });
}

}  // namespace kxcam::api

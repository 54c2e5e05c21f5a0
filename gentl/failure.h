// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <string>
#include <utility>

#include <pthread.h>

#include "abi.h"

namespace kxcam::gentl {

/// What every function below the exports throws.
struct Failure : std::exception {
  Failure(Status code, std::string message) : status(code), text(std::move(message)) {}
  const char* what() const noexcept override { return text.c_str(); }

  Status status;
  std::string text;
};

[[noreturn]] void fail(Status status, std::string text);

/// For a status of the library; `what` was tried.
[[noreturn]] void fail_of_library(int cause, const std::string& what);
inline void check(int cause, const std::string& what) {
  if (cause != 0) fail_of_library(cause, what);
}

template <class T>
T& required(T* pointer) {
  if (pointer == nullptr) fail(kInvalidParameter, "a required pointer is null");
  return *pointer;
}

/// The failure that the calling thread's last failed call returned; success before the first one.
const Failure& last_failure();

/// Turns the exception that is being handled into a status and keeps it as last_failure().
Status keep_failure();

/// A thread that is cancelled in a call ends after it: the unwinding would pass through another runtime's
/// frames.
class CancellationDeferred {
 public:
  CancellationDeferred() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_); }
  CancellationDeferred(const CancellationDeferred&) = delete;
  CancellationDeferred& operator=(const CancellationDeferred&) = delete;
  ~CancellationDeferred() { pthread_setcancelstate(previous_, nullptr); }

 private:
  int previous_ = PTHREAD_CANCEL_ENABLE;
};

/// The status of a call that may throw.
template <class Call>
int32_t status_of(Call call) {
  const CancellationDeferred deferred;
  try {
    call();
    return kSuccess;
  } catch (const std::exception&) {
    return keep_failure();
  }
}

}  // namespace kxcam::gentl

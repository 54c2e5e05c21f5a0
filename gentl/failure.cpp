// SPDX-License-Identifier: Apache-2.0
#include "failure.h"

#include <new>
#include <system_error>
#include <utility>

#include "kxcam/extra.h"

namespace kxcam::gentl {

namespace {

Failure& kept() {
  thread_local Failure failure(kSuccess, "");
  return failure;
}

Status status_of_cause(int cause) {
  switch (cause) {
    case KXCAM_ERROR_ARGUMENT:
      return kInvalidValue;
    case KXCAM_ERROR_NOT_SUPPORTED:
      return kNotAvailable;
    case KXCAM_ERROR_IN_USE:
      return kResourceInUse;
    case KXCAM_ERROR_HELD:
    case KXCAM_ERROR_PERMISSION:
      return kAccessDenied;
    case KXCAM_ERROR_CONFIGURATION:
      return kError;
    case KXCAM_ERROR_SYSTEM:
      return kResourceExhausted;
    default:
      return kIo;
  }
}

}  // namespace

void fail(Status status, std::string text) {
  throw Failure(status, std::move(text));
}

void fail_of_library(int cause, const std::string& what) {
  std::string text = what;
  // A function that fails without a code does so because the camera has no such thing.
  if (cause < 1) fail(kNotAvailable, text + ": not offered by this camera");
  text += std::string(": ") + kxcam_error_text(cause);
  if (const std::string remedy = kxcam_error_remedy(cause); !remedy.empty()) text += ". " + remedy;
  fail(status_of_cause(cause), std::move(text));
}

const Failure& last_failure() {
  return kept();
}

Status keep_failure() {
  try {
    throw;
  } catch (Failure& failure) {
    kept() = std::move(failure);
  } catch (const std::bad_alloc&) {
    kept().status = kOutOfMemory;
    kept().text.clear();
  } catch (const std::system_error& error) {
    kept() = Failure(kResourceExhausted, error.what());
  } catch (const std::exception& error) {
    kept() = Failure(kError, error.what());
  }
  return kept().status;
}

}  // namespace kxcam::gentl

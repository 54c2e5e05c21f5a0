// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <span>
#include <vector>

#include "faulty_camera.h"

namespace kxcam::faults {

/// What is left of a camera after a fault.
enum class Aftermath {
  kNone,    ///< the library tries a second time, and that time it works
  kLost,    ///< a request was not executed, or its answer was wrong; or a frame was lost
  kReset,   ///< the library has reset the camera, and some do not send pictures after that
  kPulled,  ///< the camera is off the bus
};

enum class Target { kRequests, kReads };

/// Something that an application does with a camera. The camera is open and whole before.
struct Operation {
  const char* name;
  std::vector<Target> targets;  ///< what of it can go wrong and is not part of another operation
  void (*prepare)(FaultyCamera&);
  bool (*run)(FaultyCamera&);              ///< true for success
  std::vector<int> failures;               ///< the codes with which it may fail after one fault
  std::chrono::milliseconds limit;         ///< it takes no longer, one unanswered request or read included
  std::chrono::milliseconds silent_limit;  ///< with a camera that answers nothing: 200 ms for every request
  /// What else must hold after a fault of that aftermath, whether it succeeded or failed.
  void (*check)(FaultyCamera&, Aftermath);
};

std::span<const Operation> operations();

}  // namespace kxcam::faults

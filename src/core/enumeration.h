// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>
#include <vector>

#include "core/camera_context.h"

namespace kxcam {

/// One look at the bus, with every configured device open. A device stays open beyond it for whoever
/// keeps its handle. The transport's device table is process-wide: a second Enumeration, in another
/// thread, waits for the first to end.
class Enumeration {
 public:
  Enumeration();

  /// Number of devices, or the negative code of kxusb_open().
  int result() const { return result_; }

  /// The open devices; the place in the vector is the device number.
  const std::vector<DeviceHandle>& devices() const { return devices_; }

 private:
  std::unique_lock<std::mutex> exclusive_;
  int result_;
  std::vector<DeviceHandle> devices_;
};

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace kxcam {

/// A camera came to the bus or left it.
struct BusEvent {
  bool arrived = false;
  int product_id = 0;
  std::string serial;  ///< "" when it cannot be read
  std::string port;    ///< "1-2.3"
  int usb_speed = -1;  ///< libusb's code minus 1, as in CameraContext
};

struct WatchBegun {
  int extra_error = 0;  ///< CONFIGURATION or SYSTEM
  int descriptor = -1;  ///< readable while an event waits; -1 on failure, with NOT_SUPPORTED or `extra_error`
};

/// Begins to watch the bus in a thread of its own, unless that is done already. The first events are the
/// cameras that are there. One caller at a time. Throws std::system_error.
WatchBegun begin_watch();

/// Ends the thread and drops the events that wait.
void end_watch();

/// The oldest event that waits.
std::optional<BusEvent> next_bus_event();

}  // namespace kxcam

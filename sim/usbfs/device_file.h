// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <mutex>

#include <linux/ioctl.h>
#include <linux/usbdevice_fs.h>

#include "usbfs/bus_device.h"
#include "usbfs/memory_budget.h"
#include "usbfs/poll_signal.h"

namespace kxsim {

/// One open file of a device node, with usbfs' rules: claims and the queue of finished requests belong to
/// the file. Thread-safe.
class DeviceFile {
 public:
  DeviceFile(std::shared_ptr<BusDevice> device, MemoryBudget& budget);
  ~DeviceFile();
  DeviceFile(const DeviceFile&) = delete;
  DeviceFile& operator=(const DeviceFile&) = delete;

  /// The descriptor for the program; -1 with errno set on failure.
  int open() { return signal_.open(); }
  /// 0 or more, or a negative errno code.
  int ioctl(unsigned long request, void* argument) noexcept;
  /// Ends all requests. The program has closed the descriptor.
  void close();
  /// The device has left: the descriptor polls as broken.
  void device_left();
  /// In a forked child: the descriptors are shared with the parent, everything else is the parent's.
  void abandon() { signal_.break_off(); }

  const BusDevice& device() const { return *device_; }

 private:
  class Request;

  int execute(unsigned long request, void* argument);
  int submit(usbdevfs_urb* urb);
  int submit_control(const std::shared_ptr<Request>& request);
  int submit_bulk(const std::shared_ptr<Request>& request);
  int discard(const usbdevfs_urb* urb);
  int reap(usbdevfs_urb** urb);
  int claim(unsigned interface);
  int release(unsigned interface);
  int clear_halt(unsigned endpoint);
  int get_driver(usbdevfs_getdriver& driver) const;
  int disconnect_and_claim(const usbdevfs_disconnect_claim& request);
  int submit_to(const std::shared_ptr<Request>& request, auto&& accept);
  void finished(Request& request);

  const std::shared_ptr<BusDevice> device_;
  MemoryBudget& budget_;

  std::mutex mutex_;  // guards the rest; a camera's lock may be held when it is taken, never the reverse
  PollSignal signal_;
  std::map<const usbdevfs_urb*, std::shared_ptr<Request>> requests_;  // submitted, not yet reaped
  // Finished, not yet reaped: a chain, as finishing a request must not need memory.
  Request* first_done_ = nullptr;
  Request* last_done_ = nullptr;
};

}  // namespace kxsim

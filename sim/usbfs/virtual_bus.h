// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "usbfs/bus_device.h"
#include "usbfs/device_file.h"
#include "usbfs/hotplug_monitor.h"
#include "usbfs/memory_budget.h"

namespace kxsim {

/// The USB bus that this process sees, in place of the machine's own. Cameras come and go by plug() and
/// unplug(), or by themselves when a fault says so; libusb notices as it would with hardware. libusb lists
/// the cameras that it finds on its first initialisation in the order of their ports. Thread-safe.
class VirtualBus {
 public:
  static constexpr int kPorts = UnplugFault::kLastPort;

  static VirtualBus& instance();

  /// Takes the lowest free port unless one is given. Throws std::runtime_error when the port is taken or
  /// the camera is on the bus already.
  void plug(std::shared_ptr<SimulatedCamera> camera, std::optional<int> port = std::nullopt);
  /// Pulls the cable: pending transfers end, open nodes are gone. A camera that a fault has unplugged does
  /// not come back any more.
  void unplug(SimulatedCamera& camera);
  /// Unplugs and plugs in again, at another port if one is given.
  void replug(const std::shared_ptr<SimulatedCamera>& camera, std::optional<int> port = std::nullopt);
  /// Those that a fault has unplugged stay away too.
  void unplug_all();

  /// By port.
  std::vector<std::shared_ptr<SimulatedCamera>> cameras();

  /// Device nodes that are open now.
  size_t open_nodes();
  /// Device nodes opened successfully in all.
  size_t nodes_opened();

  MemoryBudget& memory() { return budget_; }

  /// Called once, before anything looks at the bus for the first time.
  void on_first_use(std::function<void()> populate);

  // For the functions in front of the C library and libudev.

  void first_use();
  std::vector<std::shared_ptr<BusDevice>> devices();
  std::shared_ptr<BusDevice> find_device(std::string_view system_name);
  /// A descriptor, or -1 with errno set.
  int open_node(std::string_view path);
  /// The file behind a descriptor; null for every descriptor that is not a device node's.
  std::shared_ptr<DeviceFile> file(int descriptor);
  /// The program closes a descriptor: null when it is not a device node's.
  std::shared_ptr<DeviceFile> take_file(int descriptor);
  /// Hears of everything that comes and goes from now on.
  std::shared_ptr<HotplugMonitor> new_monitor();
  /// After a fork the child has no cameras, only descriptors to close.
  void forget_everything();

 private:
  VirtualBus();

  // Called with plug_mutex_ held.
  void attach(std::shared_ptr<SimulatedCamera> camera, std::optional<int> port);
  std::shared_ptr<BusDevice> detach(SimulatedCamera& camera);
  int choose_port(const SimulatedCamera& camera, std::optional<int> wanted) const;

  void post(const HotplugEvent& event);
  void plug_event(SimulatedCamera& camera, const PlugEvent& event);

  MemoryBudget budget_;
  std::mutex monitors_mutex_;  // guards monitors_; no other lock is taken under it
  std::vector<std::weak_ptr<HotplugMonitor>> monitors_;

  std::once_flag first_use_;
  std::function<void()> populate_;

  std::mutex plug_mutex_;  // one camera comes or goes at a time; taken before mutex_
  std::map<const SimulatedCamera*, std::shared_ptr<BusDevice>> away_;  // unplugged by a fault; of plug_mutex_

  std::mutex mutex_;                                   // guards the rest
  std::map<int, std::shared_ptr<BusDevice>> devices_;  // by port
  std::map<int, std::shared_ptr<DeviceFile>> files_;   // by descriptor
  size_t nodes_opened_ = 0;
  int last_address_ = 0;
};

}  // namespace kxsim

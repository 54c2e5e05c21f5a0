// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "device/simulated_camera.h"

namespace kxsim {

class DeviceFile;

/// A camera on the bus, from plugging in to unplugging: a camera plugged in again is a new device with a
/// new address, as the kernel sees it.
class BusDevice {
 public:
  static constexpr int kBus = 1;

  BusDevice(std::shared_ptr<SimulatedCamera> camera, int port, int address)
      : camera_(std::move(camera)), port_(port), address_(address) {}

  SimulatedCamera& camera() const { return *camera_; }
  const std::shared_ptr<SimulatedCamera>& shared_camera() const { return camera_; }
  int port() const { return port_; }

  std::string system_name() const;  ///< "1-3": bus and port
  static std::string bus_folder();  ///< "/dev/bus/usb/001"
  std::string node_path() const;    ///< "/dev/bus/usb/001/007": bus and address
  /// Content of the file of that name in the device's sysfs folder; nothing when there is none.
  std::optional<std::string> attribute(std::string_view name) const;

  bool gone() const { return gone_; }
  void set_gone() { gone_ = true; }

  /// The open file that has claimed the interface.
  std::atomic<const DeviceFile*> interface_owner{nullptr};

 private:
  const std::shared_ptr<SimulatedCamera> camera_;
  const int port_;
  const int address_;
  std::atomic<bool> gone_{false};
};

}  // namespace kxsim

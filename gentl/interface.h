// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "device.h"
#include "device_entry.h"
#include "port_module.h"

namespace kxcam::gentl {

inline constexpr const char* kInterfaceId = "USB";

void interface_info(InterfaceInfo command, const Answer& answer);

/// The bus with all cameras.
class Interface : public PortModule {
 public:
  explicit Interface(Handle parent);
  ~Interface() override;

  FeaturePort& port() override { return port_; }
  Handle parent() const { return parent_; }

  /// Looks at the bus; whether the list changed.
  bool update();
  size_t count();
  DeviceEntry at(size_t index);
  void device_info(const std::string& id, DeviceInfo command, const Answer& answer);
  Handle open_device(const std::string& id, OpenAccess access);
  void close_device(Device& device);
  void close();

 private:
  std::vector<Feature> features();
  DeviceEntry& find(const std::string& id);

  const Handle parent_;
  FeaturePort port_;
  int64_t selected_ = 0;  ///< of the port's features, under its lock

  std::mutex mutex_;  ///< guards all below
  std::vector<DeviceEntry> devices_;
  std::map<std::string, std::shared_ptr<Device>> open_;  ///< null while it is being opened or closed
  bool closed_ = false;
};

}  // namespace kxcam::gentl

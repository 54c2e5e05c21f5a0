// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <mutex>

#include "interface.h"
#include "port_module.h"

namespace kxcam::gentl {

inline constexpr uint32_t kInterfaceVersionMajor = 1;
inline constexpr uint32_t kInterfaceVersionMinor = 5;

void system_info(SystemInfo command, const Answer& answer);

/// The producer: all that a consumer begins with.
class System : public PortModule {
 public:
  System();
  ~System() override;

  FeaturePort& port() override { return port_; }
  Handle open_interface(const std::string& id);
  void close_interface(Interface& interface);
  void close();

 private:
  FeaturePort port_;
  std::mutex mutex_;  ///< guards all below
  std::shared_ptr<Interface> interface_;
  bool closed_ = false;
};

/// Between GCInitLib() and GCCloseLib(), once for the process. Thread-safe.
class Library {
 public:
  static Library& instance();

  void begin();
  void end();
  void require_begun();
  Handle open_system();
  void close_system(System& system);

 private:
  std::mutex mutex_;
  bool begun_ = false;
  std::shared_ptr<System> system_;
};

/// The module that a consumer's handle stands for; throws when it is of another kind.
template <class Wanted>
std::shared_ptr<Wanted> find(Handle handle) {
  Library::instance().require_begun();
  return HandleTable::instance().find<Wanted>(handle);
}

}  // namespace kxcam::gentl

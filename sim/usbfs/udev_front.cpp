// SPDX-License-Identifier: Apache-2.0

// The part of libudev that libusb uses, on the virtual bus instead of the machine's devices.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "usbfs/virtual_bus.h"

using kxsim::VirtualBus;

namespace {
constexpr std::string_view kDeviceFolder = "/sys/bus/usb/devices/";
}

// The types are opaque to libusb; their names are libudev's.
struct udev {};

struct udev_monitor {};

struct udev_device {
  kxsim::HotplugEvent event;
};

struct udev_list_entry {
  std::string name;
  udev_list_entry* next = nullptr;
};

struct udev_enumerate {
  std::vector<udev_list_entry> entries;
};

namespace {

/// libudev hands out counted references; libusb holds one of each.
template <class Object>
Object* release(Object* object) {
  const std::unique_ptr<Object> owner(object);
  return nullptr;
}

}  // namespace

extern "C" {

udev* udev_new() {
  VirtualBus::instance().first_use();
  return std::make_unique<udev>().release();
}
udev* udev_unref(udev* context) {
  return release(context);
}

udev_monitor* udev_monitor_new_from_netlink(udev*, const char*) {
  VirtualBus::instance().monitor().start();
  return std::make_unique<udev_monitor>().release();
}
int udev_monitor_filter_add_match_subsystem_devtype(udev_monitor*, const char*, const char*) {
  return 0;
}
int udev_monitor_enable_receiving(udev_monitor*) {
  return 0;
}
int udev_monitor_get_fd(udev_monitor*) {
  return VirtualBus::instance().monitor().descriptor();
}
udev_monitor* udev_monitor_unref(udev_monitor* monitor) {
  VirtualBus::instance().monitor().stop();
  return release(monitor);
}
udev_device* udev_monitor_receive_device(udev_monitor*) {
  auto event = VirtualBus::instance().monitor().next();
  if (!event) return nullptr;
  return std::make_unique<udev_device>(udev_device{std::move(*event)}).release();
}

udev_device* udev_device_new_from_syspath(udev*, const char* path) {
  std::string_view name(path);
  name.remove_prefix(name.rfind('/') + 1);
  const auto device = VirtualBus::instance().find_device(name);
  if (!device) return nullptr;
  return std::make_unique<udev_device>(udev_device{{"", device->system_name(), device->node_path()}})
      .release();
}
const char* udev_device_get_action(udev_device* device) {
  return device->event.action.c_str();
}
const char* udev_device_get_devnode(udev_device* device) {
  return device->event.node_path.c_str();
}
const char* udev_device_get_sysname(udev_device* device) {
  return device->event.system_name.c_str();
}
udev_device* udev_device_unref(udev_device* device) {
  return release(device);
}

udev_enumerate* udev_enumerate_new(udev*) {
  return std::make_unique<udev_enumerate>().release();
}
int udev_enumerate_add_match_subsystem(udev_enumerate*, const char*) {
  return 0;
}
int udev_enumerate_add_match_property(udev_enumerate*, const char*, const char*) {
  return 0;
}
int udev_enumerate_scan_devices(udev_enumerate* enumerate) {
  auto& entries = enumerate->entries;
  // libusb puts each device in front of those it has: last port first makes it list them in port order.
  const auto devices = VirtualBus::instance().devices();
  for (auto device = devices.rbegin(); device != devices.rend(); ++device) {
    entries.push_back({std::string(kDeviceFolder) + (*device)->system_name()});
  }
  for (size_t i = 1; i < entries.size(); ++i) entries[i - 1].next = &entries[i];
  return 0;
}
udev_list_entry* udev_enumerate_get_list_entry(udev_enumerate* enumerate) {
  return enumerate->entries.empty() ? nullptr : enumerate->entries.data();
}
udev_list_entry* udev_list_entry_get_next(udev_list_entry* entry) {
  return entry->next;
}
const char* udev_list_entry_get_name(udev_list_entry* entry) {
  return entry->name.c_str();
}
udev_enumerate* udev_enumerate_unref(udev_enumerate* enumerate) {
  return release(enumerate);
}

}  // extern "C"

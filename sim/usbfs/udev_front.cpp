// SPDX-License-Identifier: Apache-2.0

// The part of libudev that libusb uses, on the virtual bus instead of the machine's devices. Callers that use
// more of libudev get libudev itself: other libraries of the same program look for cards and keyboards. The
// caller decides in udev_new(); from there on each object tells by itself whose it is.

#include <cerrno>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <dlfcn.h>

#include "usbfs/udev_caller.h"
#include "usbfs/virtual_bus.h"

using kxsim::VirtualBus;

namespace {

constexpr std::string_view kDeviceFolder = "/sys/bus/usb/devices/";

/// What the objects of this file begin with, and those of libudev do not.
constexpr char kMark = 0;

}  // namespace

// The types are opaque to their users; their names are libudev's.
struct udev {
  const char* mark = &kMark;
};

struct udev_monitor {
  const char* mark = &kMark;
  std::shared_ptr<kxsim::HotplugMonitor> events;
};

struct udev_device {
  const char* mark = &kMark;
  kxsim::HotplugEvent event;
};

struct udev_list_entry {
  const char* mark = &kMark;
  std::string name;
  udev_list_entry* next = nullptr;
};

struct udev_enumerate {
  const char* mark = &kMark;
  std::vector<udev_list_entry> entries;
};

namespace {

template <class Object>
bool ours(const Object* object) {
  return object != nullptr && object->mark == &kMark;
}

/// libudev hands out counted references; libusb holds one of each.
template <class Object>
Object* release(Object* object) {
  const std::unique_ptr<Object> owner(object);
  return nullptr;
}

/// What `make` returns, or null when there is no memory for it.
auto unless_out_of_memory(auto make) noexcept -> decltype(make()) try {
  return make();
} catch (const std::bad_alloc&) {
  return nullptr;
}

/// libudev's own function of that name; its user has loaded it.
template <auto Function>
auto* real(const char* name) {
  static auto* const function =
      reinterpret_cast<decltype(Function)>(dlsym(dlopen("libudev.so.1", RTLD_LAZY), name));
  return function;
}

}  // namespace

extern "C" {

udev* udev_new() {
  if (!kxsim::is_served_by_front(__builtin_return_address(0))) return real<&udev_new>("udev_new")();
  return unless_out_of_memory([] {
    VirtualBus::instance().first_use();
    return std::make_unique<udev>().release();
  });
}
udev* udev_unref(udev* context) {
  return ours(context) ? release(context) : real<&udev_unref>("udev_unref")(context);
}

udev_monitor* udev_monitor_new_from_netlink(udev* context, const char* name) {
  if (!ours(context))
    return real<&udev_monitor_new_from_netlink>("udev_monitor_new_from_netlink")(context, name);
  return unless_out_of_memory([] {
    auto monitor = std::make_unique<udev_monitor>();
    monitor->events = VirtualBus::instance().new_monitor();
    return monitor.release();
  });
}
int udev_monitor_filter_add_match_subsystem_devtype(udev_monitor* monitor, const char* subsystem,
                                                    const char* type) {
  return ours(monitor) ? 0
                       : real<&udev_monitor_filter_add_match_subsystem_devtype>(
                             "udev_monitor_filter_add_match_subsystem_devtype")(monitor, subsystem, type);
}
int udev_monitor_enable_receiving(udev_monitor* monitor) {
  return ours(monitor) ? 0 : real<&udev_monitor_enable_receiving>("udev_monitor_enable_receiving")(monitor);
}
int udev_monitor_get_fd(udev_monitor* monitor) {
  return ours(monitor) ? monitor->events->descriptor()
                       : real<&udev_monitor_get_fd>("udev_monitor_get_fd")(monitor);
}
udev_monitor* udev_monitor_unref(udev_monitor* monitor) {
  return ours(monitor) ? release(monitor) : real<&udev_monitor_unref>("udev_monitor_unref")(monitor);
}
udev_device* udev_monitor_receive_device(udev_monitor* monitor) {
  if (!ours(monitor)) return real<&udev_monitor_receive_device>("udev_monitor_receive_device")(monitor);
  return unless_out_of_memory([&] {
    auto device = std::make_unique<udev_device>();
    auto event = monitor->events->next();
    if (!event) return static_cast<udev_device*>(nullptr);
    device->event = std::move(*event);
    return device.release();
  });
}

udev_device* udev_device_new_from_syspath(udev* context, const char* path) {
  if (!ours(context))
    return real<&udev_device_new_from_syspath>("udev_device_new_from_syspath")(context, path);
  return unless_out_of_memory([&] {
    std::string_view name(path);
    name.remove_prefix(name.rfind('/') + 1);
    const auto device = VirtualBus::instance().find_device(name);
    if (!device) return static_cast<udev_device*>(nullptr);
    auto found = std::make_unique<udev_device>();
    found->event = {"", device->system_name(), device->node_path()};
    return found.release();
  });
}
const char* udev_device_get_action(udev_device* device) {
  return ours(device) ? device->event.action.c_str()
                      : real<&udev_device_get_action>("udev_device_get_action")(device);
}
const char* udev_device_get_devnode(udev_device* device) {
  return ours(device) ? device->event.node_path.c_str()
                      : real<&udev_device_get_devnode>("udev_device_get_devnode")(device);
}
const char* udev_device_get_sysname(udev_device* device) {
  return ours(device) ? device->event.system_name.c_str()
                      : real<&udev_device_get_sysname>("udev_device_get_sysname")(device);
}
udev_device* udev_device_unref(udev_device* device) {
  return ours(device) ? release(device) : real<&udev_device_unref>("udev_device_unref")(device);
}

udev_enumerate* udev_enumerate_new(udev* context) {
  return ours(context) ? unless_out_of_memory([] { return std::make_unique<udev_enumerate>().release(); })
                       : real<&udev_enumerate_new>("udev_enumerate_new")(context);
}
int udev_enumerate_add_match_subsystem(udev_enumerate* enumerate, const char* subsystem) {
  return ours(enumerate) ? 0
                         : real<&udev_enumerate_add_match_subsystem>("udev_enumerate_add_match_subsystem")(
                               enumerate, subsystem);
}
int udev_enumerate_add_match_property(udev_enumerate* enumerate, const char* property, const char* value) {
  return ours(enumerate) ? 0
                         : real<&udev_enumerate_add_match_property>("udev_enumerate_add_match_property")(
                               enumerate, property, value);
}
int udev_enumerate_scan_devices(udev_enumerate* enumerate) try {
  if (!ours(enumerate)) return real<&udev_enumerate_scan_devices>("udev_enumerate_scan_devices")(enumerate);
  auto& entries = enumerate->entries;
  // libusb puts each device in front of those it has: last port first makes it list them in port order.
  const auto devices = VirtualBus::instance().devices();
  for (auto device = devices.rbegin(); device != devices.rend(); ++device) {
    entries.push_back({.name = std::string(kDeviceFolder) + (*device)->system_name()});
  }
  for (size_t i = 1; i < entries.size(); ++i) entries[i - 1].next = &entries[i];
  return 0;
} catch (const std::bad_alloc&) {
  return -ENOMEM;
}
udev_list_entry* udev_enumerate_get_list_entry(udev_enumerate* enumerate) {
  if (!ours(enumerate))
    return real<&udev_enumerate_get_list_entry>("udev_enumerate_get_list_entry")(enumerate);
  return enumerate->entries.empty() ? nullptr : enumerate->entries.data();
}
udev_list_entry* udev_list_entry_get_next(udev_list_entry* entry) {
  return ours(entry) ? entry->next : real<&udev_list_entry_get_next>("udev_list_entry_get_next")(entry);
}
const char* udev_list_entry_get_name(udev_list_entry* entry) {
  return ours(entry) ? entry->name.c_str()
                     : real<&udev_list_entry_get_name>("udev_list_entry_get_name")(entry);
}
udev_enumerate* udev_enumerate_unref(udev_enumerate* enumerate) {
  return ours(enumerate) ? release(enumerate)
                         : real<&udev_enumerate_unref>("udev_enumerate_unref")(enumerate);
}

}  // extern "C"

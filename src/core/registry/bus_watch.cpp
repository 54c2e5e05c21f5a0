// SPDX-License-Identifier: Apache-2.0
#include "core/registry/bus_watch.h"

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include <sys/time.h>

#include "core/registry/contexts.h"
#include "core/registry/discovery.h"
#include "kxcam/extra.h"
#include "sync/condition.h"
#include "usb/kxusb.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

using DeviceRef = std::shared_ptr<libusb_device>;

DeviceRef hold(libusb_device* device) {
  return {libusb_ref_device(device), libusb_unref_device};
}

uint16_t product_of(libusb_device* device) {
  libusb_device_descriptor descriptor{};
  libusb_get_device_descriptor(device, &descriptor);
  return descriptor.idProduct;
}

/// What can be learned of a camera without disturbing whoever holds it.
BusEvent arrival_of(libusb_device* device) {
  BusEvent event{.arrived = true,
                 .product_id = product_of(device),
                 .serial = {},
                 .port = port_name(port_of(device)),
                 .usb_speed = libusb_get_device_speed(device) - 1};
  if (const ContextRef camera = camera_of(device); camera != nullptr) {
    const SerialRecord& serial = camera->parameter.serial_number;
    event.serial = trimmed({serial.data(), serial.size()});
    event.product_id = static_cast<int>(camera->model().PID);
    return event;
  }
  const Enumeration bus;
  for (const DeviceHandle& candidate : bus.devices()) {
    libusb_device_handle* handle = candidate.get();
    if (libusb_get_device(handle) != device) continue;
    if (kxusb_claim_interface(handle, kImageInterface) != LIBUSB_SUCCESS) break;
    const SerialRecord serial = read_serial(handle);
    event.serial = trimmed({serial.data(), serial.size()});
    event.product_id = true_product(handle).value_or(product_of(device));
    kxusb_release_interface(handle, kImageInterface);
  }
  return event;
}

class BusWatch;

/// Who hears of changes. A callback may still be running in another thread when libusb has been told to end
/// it.
struct Listener {
  std::mutex mutex;
  BusWatch* watch = nullptr;
};

// Never destroyed: a program may end while the bus is watched.
Listener& listener() {
  static Listener& one = *new Listener;
  return one;
}

/// The thread that watches. libusb calls back in whatever thread handles its events, where no camera can be
/// asked: the changes wait for this one.
class BusWatch {
 public:
  BusWatch() {
    const std::lock_guard lock(listener().mutex);
    listener().watch = this;
  }
  ~BusWatch() {
    {
      const std::lock_guard lock(listener().mutex);
      if (listener().watch == this) listener().watch = nullptr;
    }
    libusb_hotplug_deregister_callback(nullptr, callback_);
    running_ = false;
    wake();
    libusb_interrupt_event_handler(nullptr);
    if (thread_.joinable()) thread_.join();
  }
  BusWatch(const BusWatch&) = delete;
  BusWatch& operator=(const BusWatch&) = delete;

  bool begin() {
    constexpr int kBoth = LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT;
    const int result = libusb_hotplug_register_callback(
        nullptr, kBoth, LIBUSB_HOTPLUG_ENUMERATE, kCameraVendor, LIBUSB_HOTPLUG_MATCH_ANY,
        LIBUSB_HOTPLUG_MATCH_ANY, on_change, nullptr, &callback_);
    if (result != LIBUSB_SUCCESS) return fail(KXCAM_ERROR_NOT_SUPPORTED);
    thread_ = std::thread([this] { watch(); });
    return true;
  }

  int descriptor() const { return readiness_.descriptor(); }

  std::optional<BusEvent> next() {
    const std::lock_guard lock(mutex_);
    if (events_.empty()) return std::nullopt;
    BusEvent event = std::move(events_.front());
    events_.pop_front();
    readiness_.set(!events_.empty());
    return event;
  }

 private:
  static int LIBUSB_CALL on_change(libusb_context*, libusb_device* device, libusb_hotplug_event event,
                                   void*) {
    const std::lock_guard lock(listener().mutex);
    if (BusWatch* watch = listener().watch; watch != nullptr)
      watch->note(hold(device), event == LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED);
    return 0;  // keep calling
  }

  void note(DeviceRef device, bool arrived) {
    const std::lock_guard lock(mutex_);
    changes_.emplace_back(std::move(device), arrived);
    wake();
  }

  /// Whichever thread handled the event: libusb looks at the flag before it waits, under the lock under which
  /// it wakes those who wait for that thread.
  void wake() { std::atomic_ref(woken_).store(1); }

  void watch() {
    for (;;) {
      std::atomic_ref(woken_).store(0);
      if (!running_) return;
      work_off();
      while (std::atomic_ref(woken_).load() == 0) libusb_handle_events_completed(nullptr, &woken_);
    }
  }

  void work_off() {
    for (;;) {
      std::unique_lock lock(mutex_);
      if (changes_.empty()) return;
      const auto [device, arrived] = std::move(changes_.front());
      changes_.pop_front();
      lock.unlock();
      report(device, arrived);
    }
  }

  void report(const DeviceRef& device, bool arrived) {
    BusEvent event;
    if (arrived) {
      if (present_.contains(device)) return;
      event = arrival_of(device.get());
      present_[device] = event;
    } else {
      const auto known = present_.find(device);
      if (known == present_.end()) return;
      event = std::move(known->second);
      event.arrived = false;
      present_.erase(known);
    }
    const std::lock_guard lock(mutex_);
    events_.push_back(std::move(event));
    readiness_.set(true);
  }

  std::atomic<bool> running_ = true;
  int woken_ = 0;  ///< atomic: there is a change, or the end
  libusb_hotplug_callback_handle callback_ = 0;
  std::map<DeviceRef, BusEvent> present_;  ///< the thread's own
  std::mutex mutex_;                       ///< guards all below
  std::deque<std::pair<DeviceRef, bool>> changes_;
  std::deque<BusEvent> events_;
  Readiness readiness_;
  std::thread thread_;
};

struct Current {
  std::mutex mutex;
  std::shared_ptr<BusWatch> watch;
};

// Never destroyed: a program may end while the bus is watched.
Current& current() {
  static Current& one = *new Current;
  return one;
}

std::shared_ptr<BusWatch> watch_in_force() {
  const std::lock_guard lock(current().mutex);
  return current().watch;
}

}  // namespace

WatchBegun begin_watch() {
  if (const auto watch = watch_in_force(); watch != nullptr) return {.descriptor = watch->descriptor()};
  const int found = Enumeration().result();  // reads the configuration and initialises libusb
  if (found == -1) return {.extra_error = KXCAM_ERROR_CONFIGURATION};
  if (found == -2) return {.extra_error = KXCAM_ERROR_SYSTEM};
  const auto watch = std::make_shared<BusWatch>();
  if (!watch->begin()) return {};
  const std::lock_guard lock(current().mutex);
  current().watch = watch;
  return {.descriptor = watch->descriptor()};
}

void end_watch() {
  std::shared_ptr<BusWatch> ended;  // its thread ends outside the lock
  {
    const std::lock_guard lock(current().mutex);
    ended.swap(current().watch);
  }
}

std::optional<BusEvent> next_bus_event() {
  const auto watch = watch_in_force();
  return watch == nullptr ? std::nullopt : watch->next();
}

}  // namespace kxcam

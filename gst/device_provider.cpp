// SPDX-License-Identifier: Apache-2.0
#include "device_provider.h"

#include <chrono>
#include <optional>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <kxcam/extra.h>

#include "device.h"

namespace kxcam {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Until then every camera that is there has told its serial number.
constexpr milliseconds kLongestFirstLook{2000};

/// The library's watch, of which a process has one: it runs while the object lives.
class Watch {
 public:
  Watch() { kxcam_watch(true, &fd_); }
  ~Watch() {
    if (fd_ >= 0) kxcam_watch(false, nullptr);
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  bool runs() const { return fd_ >= 0; }
  int descriptor() const { return fd_; }

  static std::optional<kxcam_bus_event> next() {
    kxcam_bus_event event{};
    if (kxcam_next_event(&event, sizeof event) != 0) return std::nullopt;
    return event;
  }

  /// The cameras that were there when it began.
  std::vector<kxcam_bus_event> first() const {
    int count = 0;
    CameraGetCount(&count);
    std::vector<kxcam_bus_event> events;
    const auto deadline = Clock::now() + kLongestFirstLook;
    while (static_cast<int>(events.size()) < count) {
      const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
      pollfd wanted{.fd = fd_, .events = POLLIN, .revents = 0};
      if (left <= milliseconds(0) || poll(&wanted, 1, static_cast<int>(left.count())) <= 0) break;
      while (const auto event = next()) events.push_back(*event);
    }
    return events;
  }

 private:
  int fd_ = -1;
};

/// A camera that another program holds does not tell its number, and no element could open it.
inline bool is_usable(const kxcam_bus_event& event) {
  return event.serial[0] != '\0';
}

/// Keeps the provider's list as the bus is.
class Follower {
 public:
  explicit Follower(GstDeviceProvider* provider) : provider_(provider) {
    if (!watch_.runs()) return;
    for (const auto& event : watch_.first()) follow(event);
    end_ = eventfd(0, EFD_CLOEXEC);
    if (end_ >= 0) thread_ = std::thread([this] { run(); });
  }
  ~Follower() {
    if (thread_.joinable()) {
      eventfd_write(end_, 1);
      thread_.join();
    }
    if (end_ >= 0) close(end_);
  }
  Follower(const Follower&) = delete;
  Follower& operator=(const Follower&) = delete;

  bool runs() const { return thread_.joinable(); }

 private:
  void run() {
    for (;;) {
      pollfd wanted[] = {{.fd = watch_.descriptor(), .events = POLLIN, .revents = 0},
                         {.fd = end_, .events = POLLIN, .revents = 0}};
      if (poll(wanted, 2, -1) < 0) continue;
      if (wanted[1].revents != 0) return;
      while (const auto event = Watch::next()) follow(*event);
    }
  }

  void follow(const kxcam_bus_event& event) {
    if (event.arrived != 0) {
      if (!is_usable(event)) return;
      devices_.push_back(new_device(event));
      gst_device_provider_device_add(provider_, devices_.back());
      return;
    }
    std::erase_if(devices_, [&](GstDevice* device) {
      const bool left = is_at(device, event.port);
      if (left) gst_device_provider_device_remove(provider_, device);
      return left;
    });
  }

  GstDeviceProvider* provider_;
  std::vector<GstDevice*> devices_;  ///< the provider's, which may not be asked for its list while it stops
  Watch watch_;
  int end_ = -1;
  std::thread thread_;
};

}  // namespace kxcam

using kxcam::Follower;
using kxcam::Watch;

struct GstKxcamDeviceProvider {
  GstDeviceProvider parent;
  Follower* follower;
};

struct GstKxcamDeviceProviderClass {
  GstDeviceProviderClass parent_class;
};

G_DEFINE_TYPE(GstKxcamDeviceProvider, gst_kxcam_device_provider, GST_TYPE_DEVICE_PROVIDER)

namespace {

Follower*& follower_of(GstDeviceProvider* provider) {
  return reinterpret_cast<GstKxcamDeviceProvider*>(provider)->follower;
}

/// Asked while it is not started.
GList* probe(GstDeviceProvider* /*provider*/) {
  const Watch watch;
  if (!watch.runs()) return nullptr;
  GList* devices = nullptr;
  for (const auto& event : watch.first()) {
    if (event.arrived != 0 && kxcam::is_usable(event))
      devices = g_list_append(devices, kxcam::new_device(event));
  }
  return devices;
}

gboolean start_provider(GstDeviceProvider* provider) {
  auto* const follower = new Follower(provider);
  if (!follower->runs()) {
    delete follower;
    return FALSE;
  }
  follower_of(provider) = follower;
  return TRUE;
}

void stop_provider(GstDeviceProvider* provider) {
  delete follower_of(provider);
  follower_of(provider) = nullptr;
}

}  // namespace

static void gst_kxcam_device_provider_init(GstKxcamDeviceProvider* provider) {
  provider->follower = nullptr;
}

static void gst_kxcam_device_provider_class_init(GstKxcamDeviceProviderClass* type) {
  auto* const provider = GST_DEVICE_PROVIDER_CLASS(type);
  provider->probe = probe;
  provider->start = start_provider;
  provider->stop = stop_provider;
  gst_device_provider_class_set_static_metadata(provider, "kxcam cameras", "Source/Video",
                                                "Lists industrial USB cameras",
                                                "kxcam maintainers <maintainers@kxcam.example>");
}

// SPDX-License-Identifier: Apache-2.0
#include "usbfs/virtual_bus.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <utility>

#include <pthread.h>

#include "usbfs/descriptor_flags.h"

namespace kxsim {

VirtualBus& VirtualBus::instance() {
  // Never destroyed: libusb and the cameras' threads use it until the very end of the process.
  static auto* const bus = new VirtualBus();  // NOLINT(cppcoreguidelines-owning-memory)
  return *bus;
}

VirtualBus::VirtualBus() {
  pthread_atfork(nullptr, nullptr, [] { instance().forget_everything(); });
}

void VirtualBus::on_first_use(std::function<void()> populate) {
  populate_ = std::move(populate);
}

void VirtualBus::first_use() {
  std::call_once(first_use_, [this] {
    if (populate_) populate_();
  });
}

void VirtualBus::plug(std::shared_ptr<SimulatedCamera> camera, std::optional<int> port) {
  const std::lock_guard plugging(plug_mutex_);
  camera->on_plug_event([this](SimulatedCamera& who, const PlugEvent& event) { plug_event(who, event); });
  away_.erase(camera.get());
  attach(std::move(camera), port);
}

int VirtualBus::choose_port(const SimulatedCamera& camera, std::optional<int> wanted) const {
  const auto same = [&](const auto& entry) { return &entry.second->camera() == &camera; };
  if (std::ranges::any_of(devices_, same)) throw std::runtime_error("the camera is on the bus already");
  int port = wanted.value_or(1);
  while (!wanted && devices_.contains(port)) ++port;
  if (port < 1 || port > kPorts || devices_.contains(port)) {
    throw std::runtime_error("port " + std::to_string(port) + " is taken or does not exist");
  }
  return port;
}

void VirtualBus::attach(std::shared_ptr<SimulatedCamera> camera, std::optional<int> port) {
  constexpr int kLastAddress = 127;
  HotplugEvent event{.action = "add", .system_name = {}, .node_path = {}};
  {
    const std::lock_guard lock(mutex_);
    const int place = choose_port(*camera, port);
    last_address_ = last_address_ % kLastAddress + 1;
    camera->power_up();
    const auto device = std::make_shared<BusDevice>(std::move(camera), place, last_address_);
    event.system_name = device->system_name();
    event.node_path = device->node_path();
    devices_.emplace(place, device);
  }
  post(event);
}

std::shared_ptr<BusDevice> VirtualBus::detach(SimulatedCamera& camera) {
  std::shared_ptr<BusDevice> device;
  std::vector<std::shared_ptr<DeviceFile>> open_files;
  {
    const std::lock_guard lock(mutex_);
    const auto found =
        std::ranges::find_if(devices_, [&](const auto& entry) { return &entry.second->camera() == &camera; });
    if (found == devices_.end()) return nullptr;
    device = found->second;
    devices_.erase(found);
    device->set_gone();
    for (const auto& [descriptor, file] : files_) {
      if (&file->device() == device.get()) open_files.push_back(file);
    }
  }
  if (camera.powered()) camera.power_down();
  for (const auto& file : open_files) file->device_left();
  post({"remove", device->system_name(), device->node_path()});
  return device;
}

std::shared_ptr<HotplugMonitor> VirtualBus::new_monitor() {
  auto monitor = std::make_shared<HotplugMonitor>();
  const std::lock_guard lock(monitors_mutex_);
  std::erase_if(monitors_, [](const auto& other) { return other.expired(); });
  monitors_.push_back(monitor);
  return monitor;
}

void VirtualBus::post(const HotplugEvent& event) {
  const std::lock_guard lock(monitors_mutex_);
  for (const auto& monitor : monitors_) {
    if (const auto listening = monitor.lock()) listening->post(event);
  }
}

void VirtualBus::unplug(SimulatedCamera& camera) {
  // Outlives the lock: a camera that ends here waits for its thread, which may be waiting for the lock.
  std::shared_ptr<BusDevice> device;
  const std::lock_guard plugging(plug_mutex_);
  device = detach(camera);
  camera.power_down();  // also what a fault has planned for it
  const auto away = away_.find(&camera);
  if (away == away_.end()) return;
  device = std::move(away->second);
  away_.erase(away);
}

void VirtualBus::replug(const std::shared_ptr<SimulatedCamera>& camera, std::optional<int> port) {
  const std::lock_guard plugging(plug_mutex_);
  const auto device = detach(*camera);
  if (device) attach(camera, port ? port : device->port());
}

void VirtualBus::unplug_all() {
  auto all = cameras();
  {
    const std::lock_guard plugging(plug_mutex_);
    for (const auto& [camera, device] : away_) all.push_back(device->shared_camera());
  }
  for (const auto& camera : all) unplug(*camera);
}

/// Runs on the camera's own thread, which must not be the one to let go of it last: at the end the bus
/// still holds the camera, here or there.
void VirtualBus::plug_event(SimulatedCamera& camera, const PlugEvent& event) {
  const std::lock_guard plugging(plug_mutex_);
  if (!event.plugged) {
    if (camera.powered()) return;  // it has been plugged in again before this thread got here
    if (auto device = detach(camera)) away_.insert_or_assign(&camera, std::move(device));
    return;
  }
  const auto away = away_.find(&camera);
  if (away == away_.end()) return;
  try {
    attach(away->second->shared_camera(), event.port ? event.port : away->second->port());
    away_.erase(away);
  } catch (const std::runtime_error&) {
    camera.power_down();  // another camera has the port
  }
}

std::vector<std::shared_ptr<SimulatedCamera>> VirtualBus::cameras() {
  std::vector<std::shared_ptr<SimulatedCamera>> all;
  for (const auto& device : devices()) all.push_back(device->shared_camera());
  return all;
}

size_t VirtualBus::open_nodes() {
  const std::lock_guard lock(mutex_);
  return files_.size();
}

size_t VirtualBus::nodes_opened() {
  const std::lock_guard lock(mutex_);
  return nodes_opened_;
}

std::vector<std::shared_ptr<BusDevice>> VirtualBus::devices() {
  const std::lock_guard lock(mutex_);
  std::vector<std::shared_ptr<BusDevice>> all;
  for (const auto& [port, device] : devices_) all.push_back(device);
  return all;
}

std::shared_ptr<BusDevice> VirtualBus::find_device(std::string_view system_name) {
  const auto all = devices();
  const auto found = std::ranges::find(all, system_name, &BusDevice::system_name);
  return found == all.end() ? nullptr : *found;
}

int VirtualBus::open_node(std::string_view path) {
  const auto all = devices();
  const auto found = std::ranges::find(all, path, &BusDevice::node_path);
  if (found == all.end()) {
    errno = ENOENT;
    return -1;
  }
  if ((*found)->camera().open_denied()) {
    errno = EACCES;
    return -1;
  }
  auto file = std::make_shared<DeviceFile>(*found, budget_);
  const int descriptor = file->open();
  if (descriptor < 0) return -1;
  const std::lock_guard lock(mutex_);
  if ((*found)->gone()) file->device_left();
  files_.insert_or_assign(descriptor, std::move(file));
  ++nodes_opened_;
  DescriptorFlags::set(descriptor, true);
  return descriptor;
}

std::shared_ptr<DeviceFile> VirtualBus::file(int descriptor) {
  const std::lock_guard lock(mutex_);
  const auto found = files_.find(descriptor);
  return found == files_.end() ? nullptr : found->second;
}

std::shared_ptr<DeviceFile> VirtualBus::take_file(int descriptor) {
  const std::lock_guard lock(mutex_);
  const auto found = files_.find(descriptor);
  if (found == files_.end()) return nullptr;
  auto file = std::move(found->second);
  files_.erase(found);
  DescriptorFlags::set(descriptor, false);
  return file;
}

void VirtualBus::forget_everything() {
  // Only this thread lives on in the child, and a lock may be held by one that does not: touch none.
  DescriptorFlags::disable();
  for (const auto& [descriptor, file] : files_) file->abandon();
}

}  // namespace kxsim

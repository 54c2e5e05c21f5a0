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

void VirtualBus::on_first_use(std::function<void()> populate) { populate_ = std::move(populate); }

void VirtualBus::first_use() {
  std::call_once(first_use_, [this] {
    if (populate_) populate_();
  });
}

void VirtualBus::plug(std::shared_ptr<SimulatedCamera> camera, std::optional<int> port) {
  camera->on_plug_event([this](SimulatedCamera& who, const PlugEvent& event) { plug_event(who, event); });
  attach(std::move(camera), port);
}

int VirtualBus::free_port() const {
  for (int port = 1; port <= kPorts; ++port) {
    if (!devices_.contains(port)) return port;
  }
  throw std::runtime_error("no free port on the bus");
}

void VirtualBus::attach(std::shared_ptr<SimulatedCamera> camera, std::optional<int> port) {
  std::shared_ptr<BusDevice> device;
  {
    const std::lock_guard lock(mutex_);
    const auto same = [&](const auto& entry) { return &entry.second->camera() == camera.get(); };
    if (std::ranges::any_of(devices_, same)) throw std::runtime_error("the camera is on the bus already");
    const int place = port ? *port : free_port();
    if (place < 1 || place > kPorts || devices_.contains(place)) {
      throw std::runtime_error("port " + std::to_string(place) + " is taken or does not exist");
    }
    away_.erase(camera.get());
    constexpr int kLastAddress = 127;
    last_address_ = last_address_ % kLastAddress + 1;
    camera->power_up();
    device = std::make_shared<BusDevice>(std::move(camera), place, last_address_);
    devices_.emplace(place, device);
  }
  monitor_.post({"add", device->system_name(), device->node_path()});
}

std::shared_ptr<SimulatedCamera> VirtualBus::detach(const SimulatedCamera& camera, int* port) {
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
  device->camera().power_down();
  for (const auto& file : open_files) file->device_left();
  monitor_.post({"remove", device->system_name(), device->node_path()});
  if (port != nullptr) *port = device->port();
  return device->shared_camera();
}

void VirtualBus::unplug(SimulatedCamera& camera) {
  detach(camera, nullptr);
  const std::lock_guard lock(mutex_);
  away_.erase(&camera);
}

void VirtualBus::replug(const std::shared_ptr<SimulatedCamera>& camera, std::optional<int> port) {
  int place = 0;
  if (!detach(*camera, &place)) return;
  attach(camera, port ? port : place);
}

void VirtualBus::unplug_all() {
  for (const auto& camera : cameras()) unplug(*camera);
}

/// Runs on the camera's own thread, which must not be the one to let the camera go: away_ keeps it.
void VirtualBus::plug_event(SimulatedCamera& camera, const PlugEvent& event) {
  if (!event.plugged) {
    int port = 0;
    auto self = detach(camera, &port);
    if (!self) return;
    const std::lock_guard lock(mutex_);
    away_.insert_or_assign(&camera, Away{std::move(self), port});
    return;
  }
  Away away;
  {
    const std::lock_guard lock(mutex_);
    const auto found = away_.find(&camera);
    if (found == away_.end()) return;
    away = found->second;
  }
  try {
    attach(away.camera, event.port ? event.port : away.port);
  } catch (const std::runtime_error&) {
    camera.power_down();  // somebody else has the port
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

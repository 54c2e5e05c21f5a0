// SPDX-License-Identifier: Apache-2.0
#include "interface.h"

#include <algorithm>
#include <array>
#include <utility>

#include "core/registry/model_table.h"
#include "version.h"

namespace kxcam::gentl {

namespace {

std::string printable(const char* text) {
  std::string is;
  for (; *text != '\0'; ++text) is += *text >= ' ' && *text <= '~' ? *text : '?';
  is.resize(is.find_last_not_of(' ') + 1);
  return is;
}

std::string without_index(std::string name, int index) {
  const std::string suffix = "(" + std::to_string(index) + ")";
  if (name.ends_with(suffix)) name.resize(name.size() - suffix.size());
  return name;
}

/// The camera at that place on the bus, open or not.
bool identify(int index, DeviceEntry& entry) {
  std::array<char, 17> serial{};
  std::array<char, 65> name{};
  int row = kUnknownModel;
  if (CameraGetName(index, serial.data(), name.data()) != 0 || CameraGetID(index, &row, nullptr) != 0)
    return false;
  entry.serial = serial.data();
  entry.serial.resize(entry.serial.find_last_not_of(' ') + 1);
  entry.id = entry.serial.empty() ? "no-serial" : printable(serial.data());
  entry.name = without_index(printable(name.data()), index);
  const bool known = row >= 0 && row < kModelCount;
  entry.model = known ? model_table[static_cast<size_t>(row)].MODEL : "unknown model";
  return true;
}

std::vector<DeviceEntry> look_at_bus() {
  std::vector<DeviceEntry> found;
  int count = 0;
  CameraGetCount(&count);
  for (int index = 0; index < count; ++index) {
    DeviceEntry entry;
    if (!identify(index, entry)) continue;
    // Of two cameras of one serial number nobody could say which one is meant.
    if (std::ranges::find(found, entry.id, &DeviceEntry::id) == found.end())
      found.push_back(std::move(entry));
  }
  return found;
}

}  // namespace

void interface_info(InterfaceInfo command, const Answer& answer) {
  switch (command) {
    case InterfaceInfo::kId:
      return answer.text(kInterfaceId);
    case InterfaceInfo::kDisplayName:
      return answer.text("kxcam USB cameras");
    case InterfaceInfo::kType:
      return answer.text(kTypeText);
  }
  fail_unknown_info();
}

std::vector<Feature> Interface::features() {
  constexpr const char* kCategory = "InterfaceInformation";
  const auto of_device = [this](const char* name, const char* tooltip, std::string DeviceEntry::*member) {
    return Feature{.name = name,
                   .kind = Feature::Kind::kText,
                   .category = "DeviceEnumeration",
                   .tooltip = tooltip,
                   .get = [this, member] {
                     const auto index = static_cast<size_t>(selected_);
                     return Value(index < count() ? at(index).*member : std::string());
                   }};
  };
  return {
      fixed_text("InterfaceID", kCategory, "Name of the interface", kInterfaceId),
      fixed_text("InterfaceType", kCategory, "Kind of the interface", kTypeText),
      {.name = "DeviceUpdateList",
       .kind = Feature::Kind::kCommand,
       .category = "DeviceEnumeration",
       .tooltip = "Looks for cameras",
       .set = [this](const Value&) { update(); }},
      {.name = "DeviceSelector",
       .kind = Feature::Kind::kInteger,
       .category = "DeviceEnumeration",
       .tooltip = "The camera that the features below are of",
       .selects = {"DeviceID", "DeviceModelName", "DeviceSerialNumber"},
       .get = [this] { return Value(selected_); },
       .set = [this](const Value& value) { selected_ = integer_of(value); },
       .range =
           [this] {
             const double last = count() > 0 ? static_cast<double>(count() - 1) : 0;
             return Range{0, std::max(last, static_cast<double>(selected_)), 1};
           }},
      of_device("DeviceID", "Name of the device: its serial number", &DeviceEntry::id),
      of_device("DeviceModelName", "Model of the camera", &DeviceEntry::model),
      of_device("DeviceSerialNumber", "Serial number of the camera", &DeviceEntry::serial),
  };
}

Interface::Interface(Handle parent)
    : parent_(parent),
      port_({.id = kInterfaceId, .module = "TLInterface", .model = "kxcam USB"},
            {.model = "kxcam_interface",
             .tooltip = "USB cameras of the kxcam producer",
             .product_guid = "9c1f0f5e-7a34-4a0b-8a52-5b2d4de1a7c2"},
            features()) {
  update();
}

Interface::~Interface() {
  close();
}

bool Interface::update() {
  auto found = look_at_bus();
  const std::lock_guard lock(mutex_);
  const bool changed = !std::ranges::equal(found, devices_, {}, &DeviceEntry::id, &DeviceEntry::id);
  devices_ = std::move(found);
  return changed;
}

size_t Interface::count() {
  const std::lock_guard lock(mutex_);
  return devices_.size();
}

DeviceEntry Interface::at(size_t index) {
  const std::lock_guard lock(mutex_);
  if (index >= devices_.size()) fail(kInvalidIndex, "no such device");
  return devices_[index];
}

DeviceEntry& Interface::find(const std::string& id) {
  const auto found = std::ranges::find(devices_, id, &DeviceEntry::id);
  if (found == devices_.end()) fail(kInvalidId, "no such device");
  return *found;
}

void Interface::device_info(const std::string& id, DeviceInfo command, const Answer& answer) {
  const std::lock_guard lock(mutex_);
  const DeviceEntry& entry = find(id);
  const AccessStatus access = open_.contains(id) ? AccessStatus::kOpenHere
                              : entry.busy       ? AccessStatus::kBusy
                                                 : AccessStatus::kReadWrite;
  entry.info(command, access, answer);
}

Handle Interface::open_device(const std::string& id, OpenAccess access) {
  if (access < OpenAccess::kRead || access > OpenAccess::kExclusive)
    fail(kInvalidParameter, "no such access");
  DeviceEntry entry;
  {
    const std::lock_guard lock(mutex_);
    if (closed_) fail(kInvalidHandle, "the interface is closed");
    entry = find(id);
    if (!open_.try_emplace(id).second) fail(kResourceInUse, "the device is open already");
  }
  std::shared_ptr<Device> device;
  try {
    device = std::make_shared<Device>(entry, handle());
    if (access == OpenAccess::kRead) device->make_read_only();
    const std::lock_guard lock(mutex_);
    if (closed_) fail(kInvalidHandle, "the interface is closed");
    const Handle opened = HandleTable::instance().enter(device);
    open_[id] = device;
    return opened;
  } catch (const std::exception&) {
    const Status status = keep_failure();
    if (device != nullptr) device->close();
    const std::lock_guard lock(mutex_);
    open_.erase(id);
    const auto listed = std::ranges::find(devices_, id, &DeviceEntry::id);
    if (listed != devices_.end()) listed->busy = status == kAccessDenied;
    throw Failure(last_failure());
  }
}

void Interface::close_device(Device& device) {
  HandleTable::instance().remove(device);
  device.close();
  const std::lock_guard lock(mutex_);
  const auto found = open_.find(device.entry().id);
  if (found != open_.end() && found->second.get() == &device) open_.erase(found);
}

void Interface::close() {
  std::map<std::string, std::shared_ptr<Device>> devices;
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    devices = std::exchange(open_, {});
  }
  for (const auto& [id, device] : devices) {
    if (device == nullptr) continue;
    HandleTable::instance().remove(*device);
    device->close();
  }
  events().close();
  port_.close();
}

}  // namespace kxcam::gentl

// SPDX-License-Identifier: Apache-2.0
#include "device.h"

#include <utility>

#include "features/features.h"
#include "version.h"

namespace kxcam::gentl {

namespace {

constexpr uint64_t kTicksPerSecond = 1'000'000'000;

constexpr const char* kLocalCategory = "DeviceInformation";

std::vector<Feature> local_features(const DeviceEntry& entry) {
  return {
      fixed_text("DeviceID", kLocalCategory, "Name of the device: its serial number", entry.id),
      fixed_text("DeviceVendorName", kLocalCategory, "Maker of the driver", kVendorText),
      fixed_text("DeviceModelName", kLocalCategory, "Model of the camera", entry.model),
      fixed_text("DeviceSerialNumber", kLocalCategory, "Serial number of the camera", entry.serial),
      fixed_text("DeviceDisplayName", kLocalCategory, "Name to show", entry.name),
      fixed_text("DeviceType", kLocalCategory, "Kind of the device", kTypeText),
      fixed_text("StreamID", kLocalCategory, "Name of its stream", kStreamId),
  };
}

}  // namespace

void DeviceEntry::info(DeviceInfo command, AccessStatus access, const Answer& answer) const {
  switch (command) {
    case DeviceInfo::kId:
      return answer.text(id);
    case DeviceInfo::kVendor:
      return answer.text(kVendorText);
    case DeviceInfo::kModel:
      return answer.text(model);
    case DeviceInfo::kType:
      return answer.text(kTypeText);
    case DeviceInfo::kDisplayName:
      return answer.text(name + " (" + id + ")");
    case DeviceInfo::kAccessStatus:
      return answer.int32(static_cast<int32_t>(access));
    case DeviceInfo::kUserName:
      return answer.text(name);
    case DeviceInfo::kSerial:
      return answer.text(serial);
    case DeviceInfo::kVersion:
      return answer.text(kVersionText);
    case DeviceInfo::kTicksPerSecond:
      return answer.uint64(kTicksPerSecond);
  }
  fail_unknown_info();
}

RemoteDevice::RemoteDevice(std::shared_ptr<Camera> camera)
    : camera_(std::move(camera)),
      port_({.id = camera_->description().serial, .module = "Device", .model = camera_->description().model},
            {.model = "kxcam_camera",
             .tooltip = camera_->description().model,
             .product_guid = "9c1f0f5e-7a34-4a0b-8a52-5b2d4de1a7c0"},
            features_of(*camera_)) {}

void RemoteDevice::close() {
  port_.close();
  events().close();
  HandleTable::instance().remove(*this);
}

Device::Device(DeviceEntry entry, Handle parent)
    : entry_(std::move(entry)),
      parent_(parent),
      camera_(std::make_shared<Camera>(entry_.serial)),
      remote_(std::make_shared<RemoteDevice>(camera_)),
      port_({.id = entry_.id, .module = "TLDevice", .model = entry_.model},
            {.model = "kxcam_device",
             .tooltip = "Device of the kxcam producer",
             .product_guid = "9c1f0f5e-7a34-4a0b-8a52-5b2d4de1a7c3"},
            local_features(entry_)) {
  camera_->on_loss([this] { report_loss(); });
}

Device::~Device() {
  close();
}

void Device::report_loss() {
  const std::string text = "the camera " + entry_.id + " is not there any more";
  std::shared_ptr<Stream> stream;
  {
    const std::lock_guard lock(mutex_);
    stream = stream_.lock();
  }
  events().report(kIo, text);
  if (stream != nullptr) stream->events().report(kIo, text);
}

Handle Device::remote_port() {
  const std::lock_guard lock(mutex_);
  if (closed_) fail(kInvalidHandle, "the device is closed");
  if (remote_->handle() == nullptr) HandleTable::instance().enter(remote_);
  return remote_->handle();
}

Handle Device::open_stream(const std::string& id) {
  if (id != kStreamId) fail(kInvalidId, "no such stream");
  const std::lock_guard lock(mutex_);
  if (closed_) fail(kInvalidHandle, "the device is closed");
  if (!stream_.expired()) fail(kResourceInUse, "the stream is open already");
  const auto stream = std::make_shared<Stream>(camera_, handle());
  stream_ = stream;
  return HandleTable::instance().enter(stream);
}

void Device::close() {
  std::shared_ptr<Stream> stream;
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(closed_, true)) return;
    stream = stream_.lock();
  }
  if (stream != nullptr) {
    HandleTable::instance().remove(*stream);
    stream->close();
  }
  remote_->close();
  events().close();
  port_.close();
  camera_->on_loss(nullptr);
  camera_->close();
}

}  // namespace kxcam::gentl

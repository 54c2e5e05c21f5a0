// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <mutex>

#include "camera.h"
#include "device_entry.h"
#include "port_module.h"
#include "stream.h"

namespace kxcam::gentl {

/// A camera's own registers: the features that a person sets.
class RemoteDevice : public PortModule {
 public:
  explicit RemoteDevice(std::shared_ptr<Camera> camera);
  FeaturePort& port() override { return port_; }
  void close();

 private:
  const std::shared_ptr<Camera> camera_;  ///< the features refer to it
  FeaturePort port_;
};

/// An open device: a camera, its stream, and what the producer tells of both.
class Device : public PortModule {
 public:
  /// Opens the camera; throws Failure.
  Device(DeviceEntry entry, Handle parent);
  ~Device() override;

  FeaturePort& port() override { return port_; }
  Handle parent() const { return parent_; }
  const DeviceEntry& entry() const { return entry_; }
  void make_read_only() { remote_->port().make_read_only(); }

  Handle remote_port();
  Handle open_stream(const std::string& id);
  /// With its stream; every handle of it is void.
  void close();

 private:
  void report_loss();

  const DeviceEntry entry_;
  const Handle parent_;
  const std::shared_ptr<Camera> camera_;
  const std::shared_ptr<RemoteDevice> remote_;
  FeaturePort port_;

  std::mutex mutex_;  ///< guards all below; not held while a stream ends, which may report a loss
  std::weak_ptr<Stream> stream_;
  bool closed_ = false;
};

}  // namespace kxcam::gentl

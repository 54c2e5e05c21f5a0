// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "consumer.h"
#include "device/conf_file.h"
#include "device/simulated_camera.h"
#include "eventually.h"
#include "numbered_frame.h"
#include "usbfs/virtual_bus.h"

namespace kxcam::test {

/// A program that has loaded the producer and opened its interface, on a bus of simulated cameras.
class CamerasInAProgram : public testing::Test {
 protected:
  using Camera = kxsim::SimulatedCamera;

  CamerasInAProgram() {
    setenv("KXUSB_CONF", conf_.path().c_str(), 1);
    EXPECT_EQ(producer_.call("GCInitLib"), 0);
    EXPECT_EQ(producer_.call("TLOpen", &system_), 0);
  }
  ~CamerasInAProgram() override {
    producer_.call("GCCloseLib");
    EXPECT_EQ(bus_.open_nodes(), 0U);
    bus_.unplug_all();
  }

  /// A camera that sends numbered frames, which take less than pictures of a scene.
  std::shared_ptr<Camera> plug(const std::string& description) {
    auto camera = std::make_shared<Camera>(kxsim::parse_camera_options(description));
    camera->set_frame_source(kxsim::fill_numbered_frame);
    bus_.plug(camera);
    return camera;
  }
  void look() {
    if (interface_ == nullptr) {
      EXPECT_EQ(producer_.call("TLOpenInterface", system_, "USB", &interface_), 0);
    }
    EXPECT_EQ(producer_.call("IFUpdateDeviceList", interface_, static_cast<uint8_t*>(nullptr), kPatience), 0);
  }
  /// Status of the open; 3: control.
  int32_t try_open(const std::string& id, int32_t access = 3) {
    look();
    return producer_.call("IFOpenDevice", interface_, id.c_str(), access, &device_);
  }
  /// Opens the camera of that serial number; its features are in camera_.
  void open(const std::string& id, int32_t access = 3) {
    ASSERT_EQ(try_open(id, access), 0) << producer_.last_error();
    Handle port = nullptr;
    ASSERT_EQ(producer_.call("DevGetPort", device_, &port), 0);
    camera_ = std::make_unique<Features>(producer_, port);
  }
  void close() { EXPECT_EQ(producer_.call("DevClose", device_), 0); }

  kxsim::VirtualBus& bus_ = kxsim::VirtualBus::instance();
  kxsim::TemporaryConfFile conf_;
  Producer producer_;
  Handle system_ = nullptr;
  Handle interface_ = nullptr;
  Handle device_ = nullptr;
  std::unique_ptr<Features> camera_;
};

}  // namespace kxcam::test

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "device/conf_file.h"
#include "device/simulated_camera.h"
#include "kxcam/kxcam.h"
#include "usbfs/virtual_bus.h"

namespace kxcam {

/// The library on a bus of simulated cameras, with a configuration file that lists every model. At the end
/// every camera is closed and no device node may be left open.
class CameraBus : public ::testing::Test {
 protected:
  CameraBus() { setenv("KXUSB_CONF", conf_.path().c_str(), 1); }

  ~CameraBus() override {
    for (int camera = 0; camera < 4; ++camera) CameraFree(camera);
    EXPECT_EQ(bus_.open_nodes(), 0U);
    bus_.unplug_all();
  }
  CameraBus(const CameraBus&) = delete;
  CameraBus& operator=(const CameraBus&) = delete;

  std::shared_ptr<kxsim::SimulatedCamera> plug(const std::string& description) {
    auto camera = std::make_shared<kxsim::SimulatedCamera>(kxsim::parse_camera_options(description));
    bus_.plug(camera);
    return camera;
  }

  /// Plugs in a camera that sends numbered() frames as fast as they are read, and opens it as camera 0.
  std::shared_ptr<kxsim::SimulatedCamera> open(const std::string& model) {
    auto camera = plug(model + ",fps=0");
    camera->set_frame_source([](const kxsim::FrameRequest& request, std::span<uint8_t> out) {
      fill_numbered(request.number, out);
    });
    EXPECT_EQ(CameraInit(0), 0U);
    return camera;
  }

  static int code() {
    int error = 0;
    CameraGetLastError(&error);
    return error;
  }

  static int buffer_size(int format) {
    int size = 0;
    EXPECT_EQ(CameraGetImageBufferSize(0, &size, format), 0U);
    return size;
  }

  /// A raw frame, or nothing when none comes. A busy machine may need more than one time-out for a frame.
  static std::vector<uint8_t> query_raw(int tries = 4) {
    int size = buffer_size(KXCAM_FORMAT_RAW);
    std::vector<uint8_t> frame(static_cast<size_t>(size));
    for (int n = 0; n < tries; ++n) {
      if (CameraQueryImage(0, frame.data(), &size, KXCAM_FORMAT_RAW) == 0) return frame;
    }
    return {};
  }

  /// Bytes that no shift, repetition or mixture of frames imitates.
  static void fill_numbered(uint64_t number, std::span<uint8_t> out) {
    uint32_t state = static_cast<uint32_t>(number) * 2654435761U + 1;
    for (uint8_t& byte : out) {
      state = state * 1664525U + 1013904223U;
      byte = static_cast<uint8_t>(state >> 24);
    }
  }

  static std::vector<uint8_t> numbered(uint64_t number, size_t bytes) {
    std::vector<uint8_t> frame(bytes);
    fill_numbered(number, frame);
    return frame;
  }

  /// Number of a frame of fill_numbered(), or -1.
  static int number_of(const std::vector<uint8_t>& frame) {
    for (int number = 0; number < 200; ++number) {
      if (!frame.empty() && frame == numbered(static_cast<uint64_t>(number), frame.size())) return number;
    }
    return -1;
  }

  kxsim::VirtualBus& bus_ = kxsim::VirtualBus::instance();
  kxsim::TemporaryConfFile conf_;
};

}  // namespace kxcam

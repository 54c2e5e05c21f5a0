// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <libusb.h>

#include "calls.h"
#include "core/registry/contexts.h"
#include "device/simulated_camera.h"
#include "device/vendor_request.h"

namespace kxcam::test {

/// A slot outside the ordinary first ones, so that an index that is ignored shows.
inline constexpr int kCamera = 7;

/// What one setting sends to some sensors: a line of traffic.txt.
struct Traffic {
  struct Case {
    int argument;
    std::string requests;
  };
  std::vector<uint32_t> mids;
  std::vector<std::pair<uint16_t, uint16_t>> registers;  ///< as they are before, with their values
  std::vector<Case> cases;
};

/// The lines under that heading of traffic.txt.
std::vector<Traffic> traffic_of(const std::string& heading);

/// A simulated camera in front of the library's operations: a context with a device, without acquisition.
class SensorTest : public testing::Test {
 protected:
  static constexpr uint16_t kFrameLength = 3000;  ///< lines a frame, as the bridge has them
  static constexpr int kDelay = 12;

  void SetUp() override;
  void TearDown() override;

  /// Opens a camera of that sensor, of the newer bridge where there is one: 1280 x 960, free frame
  /// rate, all sensor registers 0.
  CameraContext& open(uint32_t mid, uint16_t features = 0);
  /// The same by product id.
  CameraContext& open_model(uint32_t product_id, uint16_t features = 0);
  void close();

  kxsim::SimulatedCamera& camera() { return *camera_; }
  CameraContext& context() { return *context_; }
  void lose_device() { context_->device.usb_handle.store(nullptr); }
  void set_readout(uint16_t width, uint16_t height);

  void preset_sensor(uint16_t reg, uint16_t value);
  void preset_bridge(uint16_t reg, uint16_t value);
  /// Requests with that code fail from now on.
  void break_requests(uint8_t code);
  /// All requests since the last call, as in traffic.txt.
  std::string requests();
  void forget_requests() { camera_->clear_requests(); }

  /// Develops a frame of that level all over; whether that succeeds.
  bool develop(int level, int format = KXCAM_FORMAT_GREY);

  using Set = std::function<bool(int)>;
  /// For every sensor and every argument under that heading `set` succeeds and sends what stands there. Then
  /// each write fails by turns, for one sensor of each line: the result is false for the marked ones only,
  /// and what comes after is sent all the same. `prepare` is called before.
  void expect_traffic(
      const std::string& heading, const Set& set, const Set& prepare = [](int) { return true; });
  /// Whether the setting knows every sensor: each id of the model table stands in one line.
  static void expect_complete(const std::string& heading);

 private:
  void fail_each_write(uint32_t mid, const Traffic::Case& expected, const Set& set, const Set& prepare);
  void fail_request(size_t number);

  std::shared_ptr<kxsim::SimulatedCamera> camera_;
  libusb_context* usb_ = nullptr;
  std::vector<uint8_t> frame_;  ///< and picture, kept for their memory
  std::vector<uint8_t> picture_;
  ContextRef context_;
};

}  // namespace kxcam::test

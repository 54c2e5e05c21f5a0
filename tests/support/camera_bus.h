// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "calls.h"
#include "device/conf_file.h"
#include "device/simulated_camera.h"
#include "numbered_frame.h"
#include "usbfs/virtual_bus.h"

namespace kxcam::test {

using Bytes = std::vector<uint8_t>;

// Vendor requests.
inline constexpr uint8_t kSensorWrite = 0xA6;
inline constexpr uint8_t kEepromRead = 0xB0;
inline constexpr uint8_t kEepromWrite = 0xB1;
inline constexpr uint8_t kBridgeWrite = 0xB6;

// The cameras' memory.
inline constexpr uint16_t kMatrixBlock = 0x1D20;
inline constexpr uint16_t kDeadPixelBlock = 0x1E00;
inline constexpr uint16_t kSet0 = 0x1F00;
inline constexpr size_t kSetSize = 64;

/// The library on a bus of simulated cameras, with a configuration file that lists every model. At the end
/// every camera is closed; no device node may be left open, and no camera may have met a request or a
/// register that it does not have.
class TestBus {
 public:
  using Camera = kxsim::SimulatedCamera;
  using Fault = kxsim::RequestFault::Action;
  /// Code, index and value.
  using Request = std::tuple<int, int, int>;

  TestBus();
  ~TestBus();
  TestBus(const TestBus&) = delete;
  TestBus& operator=(const TestBus&) = delete;

  std::shared_ptr<Camera> plug(const kxsim::CameraOptions& options);
  std::shared_ptr<Camera> plug(const std::string& description) {
    return plug(kxsim::parse_camera_options(description));
  }
  /// Plugs in a camera that sends numbered() frames as fast as they are read, and opens it as camera 0.
  std::shared_ptr<Camera> open(const std::string& model);
  /// The same for register access only.
  std::shared_ptr<Camera> open_registers(const std::string& description);

  static int code() { return last_error; }
  static int buffer_size(int format);
  /// A frame of camera 0, or nothing when none comes. A busy machine may need more than one time-out.
  static Bytes query(int format, int tries = 600);
  static Bytes query_raw(int tries = 600) { return query(KXCAM_FORMAT_RAW, tries); }
  /// Width and height of camera 0's pictures.
  static std::pair<int, int> image_size();

  static Bytes cells(const Camera& camera, uint16_t address, size_t count);
  static void program(Camera& camera, uint16_t address, std::span<const uint8_t> bytes);
  /// The `n`-th request of that code from now on fails; it is tried twice.
  static void fail_request(Camera& camera, uint8_t code, uint64_t n);
  static void fail_requests(Camera& camera, uint8_t code) {
    camera.inject({.requests = {{.action = Fault::kStall, .code = code}}});
  }
  static std::vector<Request> requests(const Camera& camera);
  static std::vector<uint16_t> indices(const Camera& camera, uint8_t code);

  kxsim::VirtualBus& bus_ = kxsim::VirtualBus::instance();
  kxsim::TemporaryConfFile conf_;

 private:
  std::vector<std::shared_ptr<Camera>> plugged_;
};

class CameraBus : public testing::Test, protected TestBus {};

}  // namespace kxcam::test

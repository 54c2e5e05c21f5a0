// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <vector>

#include "calls.h"
#include "camera_bus.h"

namespace kxcam {

constexpr uint8_t kEepromRead = 0xB0;
constexpr uint8_t kEepromWrite = 0xB1;
constexpr uint16_t kMatrixBlock = 0x1D20;
constexpr uint16_t kSet0 = 0x1F00;
constexpr size_t kSetSize = 64;

/// A camera bus with a look into the cameras' EEPROM.
class EepromTest : public CameraBus {
 protected:
  using Camera = kxsim::SimulatedCamera;
  using Fault = kxsim::RequestFault::Action;

  /// A camera that is open for register access only, as camera 0.
  std::shared_ptr<Camera> open_registers(const std::string& description) {
    auto camera = plug(description);
    EXPECT_EQ(CameraInitIO(0), 0U);
    camera->clear_requests();
    return camera;
  }

  static std::vector<uint8_t> cells(const Camera& camera, uint16_t address, size_t count) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i < count; ++i) bytes.push_back(camera.eeprom(static_cast<uint16_t>(address + i)));
    return bytes;
  }

  static void program(Camera& camera, uint16_t address, std::span<const uint8_t> bytes) {
    for (const uint8_t byte : bytes) camera.set_eeprom(address++, byte);
  }

  /// The `n`-th request of that code fails; it is asked for twice.
  static void fail_request(Camera& camera, uint8_t code, uint64_t n) {
    camera.inject({.requests = {{.action = Fault::kStall, .which = {n, n + 1}, .code = code}}});
  }

  static std::vector<uint16_t> addresses(const Camera& camera, uint8_t code) {
    std::vector<uint16_t> found;
    for (const auto& request : camera.requests(code)) found.push_back(request.index);
    return found;
  }
};

}  // namespace kxcam

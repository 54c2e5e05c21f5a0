// SPDX-License-Identifier: Apache-2.0
#include "camera_bus.h"

#include <cstdlib>

namespace kxcam::test {

TestBus::TestBus() {
  last_error = KXCAM_ERROR_NONE_YET;
  setenv("KXUSB_CONF", conf_.path().c_str(), 1);
}

TestBus::~TestBus() {
  for (int camera = 0; camera < 4; ++camera) CameraFree(camera);
  EXPECT_EQ(bus_.open_nodes(), 0U);
  bus_.unplug_all();
  for (const auto& camera : plugged_)
    EXPECT_EQ(camera->counters().unknown, 0U) << camera->model().name << " lacks a request or register";
}

std::shared_ptr<kxsim::SimulatedCamera> TestBus::plug(const kxsim::CameraOptions& options) {
  bus_.plug(plugged_.emplace_back(std::make_shared<Camera>(options)));
  return plugged_.back();
}

std::shared_ptr<kxsim::SimulatedCamera> TestBus::open(const std::string& model) {
  auto camera = plug(model + ",fps=0");
  camera->set_frame_source(kxsim::fill_numbered_frame);
  EXPECT_EQ(CameraInit(0), 0U);
  return camera;
}

std::shared_ptr<kxsim::SimulatedCamera> TestBus::open_registers(const std::string& description) {
  auto camera = plug(description);
  EXPECT_EQ(CameraInitIO(0), 0U);
  camera->clear_requests();
  return camera;
}

int TestBus::buffer_size(int format) {
  int size = 0;
  EXPECT_EQ(CameraGetImageBufferSize(0, &size, format), 0U);
  return size;
}

Bytes TestBus::query(int format, int tries) {
  int size = buffer_size(format);
  Bytes frame(static_cast<size_t>(size), 0xEE);
  for (int n = 0; n < tries; ++n) {
    if (CameraQueryImage(0, frame.data(), &size, format) == 0) return frame;
  }
  return {};
}

std::pair<int, int> TestBus::image_size() {
  std::pair size(0, 0);
  EXPECT_EQ(CameraGetImageSize(0, &size.first, &size.second), 0U);
  return size;
}

Bytes TestBus::cells(const Camera& camera, uint16_t address, size_t count) {
  Bytes bytes(count);
  for (uint8_t& byte : bytes) byte = camera.eeprom(address++);
  return bytes;
}

void TestBus::program(Camera& camera, uint16_t address, std::span<const uint8_t> bytes) {
  for (const uint8_t byte : bytes) camera.set_eeprom(address++, byte);
}

void TestBus::fail_request(Camera& camera, uint8_t code, uint64_t n) {
  camera.inject({.requests = {{.action = Fault::kStall, .which = {n, n + 1}, .code = code}}});
}

std::vector<TestBus::Request> TestBus::requests(const Camera& camera) {
  std::vector<Request> found;
  for (const auto& request : camera.requests())
    found.emplace_back(request.code, request.index, request.value);
  return found;
}

std::vector<uint16_t> TestBus::indices(const Camera& camera, uint8_t code) {
  std::vector<uint16_t> found;
  for (const auto& request : camera.requests(code)) found.push_back(request.index);
  return found;
}

}  // namespace kxcam::test

// SPDX-License-Identifier: Apache-2.0
#include "sensor_test.h"

#include <algorithm>
#include <map>
#include <sstream>

#include "core/registry/camera_parameter.h"
#include "core/registry/model_table.h"
#include "core/sensors/sensor_family.h"
#include "device/vendor_request.h"
#include "usb/control_channel.h"
#include "usbfs/virtual_bus.h"

namespace kxcam::test {

namespace {

constexpr uint32_t kFirmware = 0x8312;

/// The last row of a sensor is that of its newest bridge.
const CameraModel& newest_model(uint32_t mid) {
  const auto row = std::find_if(model_table.rbegin(), model_table.rend(),
                                [mid](const CameraModel& model) { return model.MID == mid; });
  return *row;
}

std::string in_words(const kxsim::LoggedRequest& request) {
  std::ostringstream text;
  text << std::hex << std::uppercase;
  const auto assignment = [&](const char* what) { text << what << request.index << '=' << request.value; };
  switch (request.code) {
    case kxsim::kSensorWrite:
      assignment("w");
      break;
    case kxsim::kIspWrite:
      assignment("W");
      break;
    case kxsim::kParameterWrite:
      assignment("p");
      break;
    case kxsim::kSetGpio:
      assignment("g");
      break;
    case kxsim::kSensorRead:
      text << 'r' << request.index;
      break;
    case kxsim::kIspRead:
      text << 'R' << request.index;
      break;
    default:
      text << static_cast<int>(request.code) << '=' << request.value;
  }
  return text.str();
}

}  // namespace

std::string without_marks(const std::string& requests) {
  std::string plain = requests;
  std::erase(plain, '!');
  return plain;
}

void expect_complete(const TrafficTable& table) {
  std::map<uint32_t, int> rows;
  for (const Traffic& traffic : table) {
    for (const uint32_t mid : traffic.mids) ++rows[mid];
  }
  for (const CameraModel& model : model_table) EXPECT_EQ(rows[model.MID], 1) << std::hex << model.MID;
}

void SensorTest::SetUp() {
  kxsim::VirtualBus::instance().unplug_all();
}

void SensorTest::TearDown() {
  close();
}

CameraContext& SensorTest::open(uint32_t mid, uint16_t features) {
  return open_model(newest_model(mid).PID, features);
}

CameraContext& SensorTest::open_model(uint32_t product_id, uint16_t features) {
  close();
  const int row = find_model(product_id);
  kxsim::CameraOptions options(product_id);
  options.firmware = kFirmware;
  options.features = features;
  camera_ = std::make_shared<kxsim::SimulatedCamera>(options);
  kxsim::VirtualBus::instance().plug(camera_);
  EXPECT_EQ(libusb_init(&usb_), 0);

  context_ = std::make_shared<CameraContext>(row);
  context_->device.firmware_version = kFirmware;
  context_->device.feature_bits = features;
  context_->device.usb_speed = 3;
  context_->stream.geometry = FrameGeometry{1280, 960, 1};
  context_->parameter.isp_flags = kFrameRateFree;
  context_->parameter.delay = kDelay;
  libusb_device_handle* handle =
      libusb_open_device_with_vid_pid(usb_, 0xA7B7, static_cast<uint16_t>(product_id));
  EXPECT_NE(handle, nullptr);
  context_->device.usb_handle.store(DeviceHandle(handle, libusb_close));
  EXPECT_TRUE(occupy_slot(kCamera, context_));

  constexpr uint32_t kPresentFrameLength = 0x15;
  camera_->modify([](kxsim::Bridge& bridge) { bridge.erase_registers(); });
  isp_write(*context_, kPresentFrameLength, kFrameLength);
  forget_requests();
  return *context_;
}

void SensorTest::close() {
  if (context_ == nullptr) return;
  context_->device.usb_handle.store(nullptr);
  vacate_slot(kCamera);
  context_.reset();
  libusb_exit(usb_);
  kxsim::VirtualBus::instance().unplug(*camera_);
  camera_.reset();
}

void SensorTest::preset_sensor(uint16_t reg, uint16_t value) {
  camera_->modify([=](kxsim::Bridge& bridge) { bridge.preset_sensor(reg, value); });
}

void SensorTest::break_requests(uint8_t code) {
  camera_->inject({.requests = {{.code = code}}});
}

void SensorTest::fail_request(size_t number) {
  // The library tries every request twice.
  camera_->inject({.requests = {{.which = {number, number + 1}}}});
}

std::string SensorTest::requests() {
  std::string all;
  for (const kxsim::LoggedRequest& request : camera_->requests()) {
    if (!all.empty()) all += ' ';
    all += in_words(request);
  }
  forget_requests();
  return all;
}

std::vector<SensorTest::Request> SensorTest::split(const std::string& requests) {
  std::vector<Request> list;
  std::istringstream words(requests);
  for (std::string word; words >> word;) {
    const bool decisive = word.ends_with('!');
    list.push_back({without_marks(word), decisive});
  }
  return list;
}

}  // namespace kxcam::test

// SPDX-License-Identifier: Apache-2.0
#include "sensor_test.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include "core/registry/model_table.h"
#include "usbfs/virtual_bus.h"

namespace kxcam::test {

namespace {

constexpr uint32_t kFirmware = 0x8312;

/// The last row of a sensor is that of its newest bridge.
const CameraModel& newest_model(uint32_t mid) {
  return *std::find_if(model_table.rbegin(), model_table.rend(),
                       [mid](const CameraModel& model) { return model.MID == mid; });
}

std::string in_words(const kxsim::LoggedRequest& request) {
  static const std::map<uint8_t, const char*> kWrites = {{kxsim::kSensorWrite, "w"},
                                                         {kxsim::kIspWrite, "W"},
                                                         {kxsim::kParameterWrite, "p"},
                                                         {kxsim::kSetGpio, "g"}};
  std::ostringstream text;
  text << std::hex << std::uppercase;
  if (const auto write = kWrites.find(request.code); write != kWrites.end()) {
    text << write->second << request.index << '=' << request.value;
  } else if (request.code == kxsim::kSensorRead || request.code == kxsim::kIspRead) {
    text << (request.code == kxsim::kIspRead ? 'R' : 'r') << request.index;
  } else {
    text << static_cast<int>(request.code) << '=' << request.value;
  }
  return text.str();
}

std::string without_marks(std::string requests) {
  std::erase(requests, '!');
  return requests;
}

std::vector<std::string> words_of(const std::string& text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

/// "0500 050B | 1: w9=1 | 1000: w9=3E8"
Traffic parse_traffic(const std::string& line) {
  Traffic traffic;
  std::istringstream parts(line);
  std::string part;
  std::getline(parts, part, '|');
  for (const std::string& mid : words_of(part))
    traffic.mids.push_back(static_cast<uint32_t>(std::stoul(mid, nullptr, 16)));
  while (std::getline(parts, part, '|')) {
    if (part.starts_with(" set: ")) {
      const size_t equals = part.find('=');
      traffic.registers.emplace_back(std::stoul(part.substr(6), nullptr, 16),
                                     std::stoul(part.substr(equals + 1), nullptr, 16));
      continue;
    }
    std::string requests;
    for (const std::string& word : words_of(part.substr(part.find(':') + 1)))
      requests += (requests.empty() ? "" : " ") + word;
    traffic.cases.push_back({std::stoi(part), requests});
  }
  return traffic;
}

}  // namespace

std::vector<Traffic> traffic_of(const std::string& heading) {
  std::ifstream file(TRAFFIC_FILE);
  std::vector<std::string> lines;
  bool wanted = false;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('[')) wanted = line == '[' + heading + ']';
    if (!wanted || line.empty() || line.starts_with('[')) continue;
    if (line.starts_with(' ')) {
      lines.back() += line;
    } else {
      lines.push_back(line);
    }
  }
  EXPECT_FALSE(lines.empty()) << heading << " is not in " TRAFFIC_FILE;
  std::vector<Traffic> table;
  std::ranges::transform(lines, std::back_inserter(table), parse_traffic);
  return table;
}

void SensorTest::expect_complete(const std::string& heading) {
  std::map<uint32_t, int> lines;
  for (const Traffic& traffic : traffic_of(heading)) {
    for (const uint32_t mid : traffic.mids) ++lines[mid];
  }
  for (const CameraModel& model : model_table) EXPECT_EQ(lines[model.MID], 1) << std::hex << model.MID;
}

void SensorTest::expect_traffic(const std::string& heading, const Set& set, const Set& prepare) {
  for (const Traffic& traffic : traffic_of(heading)) {
    for (const Traffic::Case& expected : traffic.cases) {
      for (const uint32_t mid : traffic.mids) {
        SCOPED_TRACE(testing::Message()
                     << std::hex << "sensor " << mid << std::dec << " for " << expected.argument);
        open(mid);
        EXPECT_TRUE(prepare(expected.argument));
        forget_requests();
        EXPECT_TRUE(set(expected.argument));
        EXPECT_EQ(requests(), without_marks(expected.requests));
      }
      fail_each_write(traffic.mids.front(), expected, set, prepare);
    }
  }
}

void SensorTest::fail_each_write(uint32_t mid, const Traffic::Case& expected, const Set& set,
                                 const Set& prepare) {
  const std::vector<std::string> sent = words_of(expected.requests);
  for (size_t i = 0; i < sent.size(); ++i) {
    if (sent[i].front() == 'r' || sent[i].front() == 'R') continue;
    SCOPED_TRACE(testing::Message() << std::hex << "sensor " << mid << std::dec << " for "
                                    << expected.argument << ", without " << sent[i]);
    open(mid);
    EXPECT_TRUE(prepare(expected.argument));
    forget_requests();
    fail_request(i + 1);
    EXPECT_EQ(set(expected.argument), !sent[i].ends_with('!'));
    const std::string retried = requests();
    EXPECT_EQ(words_of(retried).size(), sent.size() + 1) << retried;
    EXPECT_TRUE(retried.ends_with(without_marks(sent.back()))) << retried;
  }
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
  kxsim::CameraOptions options(product_id);
  options.firmware = kFirmware;
  options.features = features;
  camera_ = std::make_shared<kxsim::SimulatedCamera>(options);
  kxsim::VirtualBus::instance().plug(camera_);
  EXPECT_EQ(libusb_init(&usb_), 0);

  context_ = std::make_shared<CameraContext>(find_model(product_id));
  context_->device.firmware_version = kFirmware;
  context_->device.feature_bits = features;
  context_->device.usb_speed = 3;
  context_->parameter.isp_flags = kFrameRateFree | kSoftwareExposureAllowed;
  context_->parameter.delay = kDelay;
  set_readout(1280, 960);
  libusb_device_handle* handle =
      libusb_open_device_with_vid_pid(usb_, 0xA7B7, static_cast<uint16_t>(product_id));
  EXPECT_NE(handle, nullptr);
  context_->device.usb_handle.store(DeviceHandle(handle, libusb_close));
  EXPECT_TRUE(occupy_slot(kCamera, context_));

  constexpr uint16_t kPresentFrameLength = 0x15;
  camera_->modify([](kxsim::Bridge& bridge) { bridge.erase_registers(); });
  preset_bridge(kPresentFrameLength, kFrameLength);
  return *context_;
}

void SensorTest::close() {
  if (context_ == nullptr) return;
  lose_device();
  vacate_slot(kCamera);
  context_.reset();
  libusb_exit(usb_);
  kxsim::VirtualBus::instance().unplug(*camera_);
  EXPECT_EQ(camera_->counters().unknown, 0U) << "the camera lacks a request or register";
  camera_.reset();
}

void SensorTest::set_readout(uint16_t width, uint16_t height) {
  context_->stream.geometry = FrameGeometry{width, height, 1};
  context_->stream.index_map.store(std::make_shared<const IndexMap>(width, height, false, false, false));
}

void SensorTest::preset_sensor(uint16_t reg, uint16_t value) {
  camera_->modify([=](kxsim::Bridge& bridge) { bridge.preset_sensor(reg, value); });
}

void SensorTest::preset_bridge(uint16_t reg, uint16_t value) {
  libusb_control_transfer(context_->device.usb_handle.load().get(), LIBUSB_REQUEST_TYPE_VENDOR,
                          kxsim::kIspWrite, value, reg, nullptr, 0, 0);
  forget_requests();
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
  for (const kxsim::LoggedRequest& request : camera_->requests())
    all += (all.empty() ? "" : " ") + in_words(request);
  forget_requests();
  return all;
}

bool SensorTest::develop(int level, int format) {
  int width = 0;
  int height = 0;
  EXPECT_EQ(CameraGetImageSize(kCamera, &width, &height), 0U);
  const auto pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
  frame_.assign(pixels, static_cast<uint8_t>(level));
  if (get(CameraGetImageDepth, kCamera) == 12) {
    frame_.assign(2 * pixels, static_cast<uint8_t>(level << 4));
    for (size_t i = 0; i < pixels; ++i) frame_[2 * i + 1] = static_cast<uint8_t>(level >> 4);
  }
  picture_.resize(pixels * 4);
  return ok(CameraISP(kCamera, frame_.data(), picture_.data(), width, height, format));
}

}  // namespace kxcam::test

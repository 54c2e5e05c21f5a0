// SPDX-License-Identifier: Apache-2.0
#include "faulty_camera.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <span>
#include <thread>

#include <gtest/gtest.h>

#include "kxcam/kxcam.h"

namespace kxcam::faults {
namespace {

constexpr size_t kLongestFrame = size_t{1} << 20;
constexpr size_t kShifts = 256;

/// Dark, so that automatic exposure has something to do.
std::vector<uint8_t> dark_noise() {
  std::vector<uint8_t> bytes(kLongestFrame + kShifts);
  uint32_t state = 1;
  for (uint8_t& byte : bytes) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<uint8_t>(state >> 26);
  }
  return bytes;
}

/// The frame of that number, repeating after 256.
const uint8_t* content(size_t number) {
  static const std::vector<uint8_t> noise = dark_noise();
  return noise.data() + number % kShifts;
}

void fill(const kxsim::FrameRequest& request, std::span<uint8_t> out) {
  std::memcpy(out.data(), content(request.number), std::min(out.size(), kLongestFrame));
}

bool is_a_frame(std::span<const uint8_t> bytes) {
  constexpr size_t kBeginning = 16;  // enough to tell the frames apart
  for (size_t number = 0; number < kShifts; ++number) {
    const uint8_t* frame = content(number);
    if (std::equal(frame, frame + kBeginning, bytes.begin()))
      return std::memcmp(bytes.data(), frame, bytes.size()) == 0;
  }
  return false;
}

int buffer_size(int format) {
  int size = 0;
  EXPECT_EQ(CameraGetImageBufferSize(kCamera, &size, format), 0U);
  return size;
}

bool query(std::vector<uint8_t>& image, int format) {
  int size = buffer_size(format);
  image.resize(static_cast<size_t>(size));
  return CameraQueryImage(kCamera, image.data(), &size, format) == 0;
}

size_t running_threads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

/// A thread that was joined is listed for a moment longer, and a pulled camera for a moment on the bus.
template <class Condition>
bool eventually(Condition holds) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!holds()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace

FaultyCamera::FaultyCamera(const std::string& description)
    : device_(std::make_shared<kxsim::SimulatedCamera>(kxsim::parse_camera_options(description))),
      factory_settings_(stored()) {
  setenv("KXUSB_CONF", conf_.path().c_str(), 1);
  device_->set_frame_source(fill);
  bus_.plug(device_);
  CameraInit(kCamera);
  close();
  threads_when_closed_ = running_threads();
  restore();
}

FaultyCamera::~FaultyCamera() {
  close();
  bus_.unplug_all();
}

void FaultyCamera::pull() {
  bus_.unplug(*device_);
}

void FaultyCamera::pull_and_plug() {
  bus_.replug(device_);
}

void FaultyCamera::plug_in_if_pulled() {
  if (device_->powered()) return;
  EXPECT_TRUE(eventually([&] { return bus_.cameras().empty(); }));
  bus_.plug(device_);
}

bool FaultyCamera::delivers() {
  std::vector<uint8_t> image;
  if (!query(image, KXCAM_FORMAT_RAW)) return false;
  // A frame is one byte per pixel on the wire; the second half of a picture of two is not from there.
  int pixels = buffer_size(KXCAM_FORMAT_GREY);
  return is_a_frame(std::span(image).first(static_cast<size_t>(pixels)));
}

bool FaultyCamera::delivers_in_the_end() {
  return eventually(delivers);
}

bool FaultyCamera::makes_picture() {
  std::vector<uint8_t> image;
  return query(image, KXCAM_FORMAT_GREY);
}

std::vector<uint8_t> FaultyCamera::stored() const {
  return device_->inspect([](const kxsim::Bridge& bridge) { return bridge.eeprom().bytes(); });
}

void FaultyCamera::program_factory_settings() {
  device_->modify([&](kxsim::Bridge& bridge) {
    for (size_t i = 0; i < factory_settings_.size(); ++i) {
      bridge.eeprom().program(static_cast<uint16_t>(i), factory_settings_[i]);
    }
  });
}

void FaultyCamera::close() {
  CameraFree(kCamera);
  EXPECT_EQ(CameraReset(kCamera), 1U) << "closed";
  EXPECT_EQ(bus_.open_nodes(), 0U);
  EXPECT_EQ(bus_.memory().used(), 0U) << "of requests that nobody fetched";
  if (threads_when_closed_ == 0) return;
  EXPECT_TRUE(eventually([&] { return running_threads() == threads_when_closed_; })) << running_threads();
}

void FaultyCamera::restore() {
  close();
  device_->clear_faults();
  plug_in_if_pulled();
  program_factory_settings();
  EXPECT_EQ(CameraInit(kCamera), 0U) << "code " << last_error;
  EXPECT_TRUE(delivers_in_the_end()) << "code " << last_error;
}

}  // namespace kxcam::faults

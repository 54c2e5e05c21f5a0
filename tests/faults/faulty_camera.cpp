// SPDX-License-Identifier: Apache-2.0
#include "faulty_camera.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "eventually.h"

namespace kxcam::faults {

using test::eventually;

namespace {

size_t running_threads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

}  // namespace

FaultyCamera::FaultyCamera(const std::string& description)
    : device_(plug(description)), factory_settings_(stored()) {
  device_->set_frame_source(kxsim::fill_numbered_frame);
  CameraInit(kCamera);
  close();
  threads_when_closed_ = running_threads();
  restore();
}

FaultyCamera::~FaultyCamera() {
  close();
}

void FaultyCamera::pull() {
  bus_.unplug(*device_);
}

void FaultyCamera::pull_and_plug() {
  bus_.replug(device_);
}

void FaultyCamera::plug_in_if_pulled() {
  if (device_->powered()) return;
  // It is listed for a moment longer, as is a thread that was joined.
  EXPECT_TRUE(eventually([&] { return bus_.cameras().empty(); }));
  bus_.plug(device_);
}

bool FaultyCamera::delivers() {
  std::vector<uint8_t> image = query_raw(1);
  // A frame is one byte per pixel on the wire; the second half of a picture of two is not from there.
  if (!image.empty()) image.resize(static_cast<size_t>(buffer_size(KXCAM_FORMAT_GREY)));
  return test::number_of(image) >= 0;
}

bool FaultyCamera::delivers_in_the_end() {
  return eventually(delivers);
}

bool FaultyCamera::makes_picture() {
  return !query(KXCAM_FORMAT_GREY, 1).empty();
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

// SPDX-License-Identifier: Apache-2.0
#include "soak_camera.h"

#include "numbered_frame.h"

namespace kxcam::soak {

SoakCamera::SoakCamera(uint32_t number, const std::string& description)
    : number_(number),
      device_(std::make_shared<kxsim::SimulatedCamera>(kxsim::parse_camera_options(description))) {
  device_->set_frame_source([this](const kxsim::FrameRequest&, std::span<uint8_t> out) {
    write_numbered_frame(number_, ++frames_numbered_, out);
  });
}

bool SoakCamera::deliver_once(uint64_t number) {
  return delivered_[number % kRemembered].exchange(number) != number;
}

}  // namespace kxcam::soak

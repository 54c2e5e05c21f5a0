// SPDX-License-Identifier: Apache-2.0
#include "mischief.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <gtest/gtest.h>

#include "device/vendor_request.h"
#include "eventually.h"
#include "usbfs/virtual_bus.h"

namespace kxcam::test {

namespace {

using kxsim::BulkFault;
using kxsim::FrameFault;
using kxsim::RequestFault;
using kxsim::VirtualBus;
using std::chrono::milliseconds;

constexpr int kPorts = 8;

bool on_bus(const kxsim::SimulatedCamera& camera) {
  const auto present = VirtualBus::instance().cameras();
  return camera.powered() &&
         std::ranges::any_of(present, [&](const auto& one) { return one.get() == &camera; });
}

}  // namespace

Mischief::Mischief(std::shared_ptr<kxsim::SimulatedCamera> camera, int first_port, uint64_t seed)
    : camera_(std::move(camera)), first_port_(first_port), random_(seed), thread_([this] {
        while (!ending_) {
          {
            const std::lock_guard acting(acting_);
            act();
          }
          std::this_thread::sleep_for(milliseconds(between(20, 600)));
        }
      }) {}

Mischief::~Mischief() {
  ending_ = true;
  thread_.join();
  camera_->clear_faults();
}

void Mischief::rest(bool on) {
  if (!on) return acting_.unlock();
  acting_.lock();
  camera_->clear_faults();
  EXPECT_TRUE(eventually([&] { return on_bus(*camera_); })) << "a camera stayed away";
}

kxsim::Ordinals Mischief::next_few() {
  const auto first = static_cast<uint64_t>(between(1, 5));
  return {.first = first, .last = first + static_cast<uint64_t>(between(0, 2))};
}

void Mischief::act() {
  camera_->clear_requests();  // kept by the camera, and no growth of the library's
  const int choice = between(1, 100);
  if (choice <= 45) return spoil_frames();
  if (choice <= 75) return spoil_requests();
  if (choice <= 88) return break_transfers();
  if (choice <= 95) return pull_cable();
  loose_contact();
}

/// All of them leave frames of lengths that no geometry in use has.
void Mischief::spoil_frames() {
  FrameFault fault{.which = next_few()};
  switch (between(1, 4)) {
    case 1:
      fault.action = FrameFault::Action::kShort;
      fault.bytes = pick<size_t>({1, 512, 5000});
      break;
    case 2:
      fault.action = FrameFault::Action::kLong;
      fault.bytes = pick<size_t>({1, 700, 1500});
      break;
    case 3:
      return withhold_end();
    default:
      fault.action = FrameFault::Action::kMissing;
  }
  camera_->inject({.frames = {fault}});
}

/// After whole packets the next frame runs on in the host's read, else it overruns that.
void Mischief::withhold_end() {
  constexpr size_t kPacket = 1024;
  FrameFault fault{.action = FrameFault::Action::kUnended, .which = next_few()};
  fault.bytes = between(1, 10) <= 7 ? camera_->frame_bytes() % kPacket : 1;
  camera_->inject({.frames = {fault}});
}

void Mischief::spoil_requests() {
  const uint8_t code = pick<uint8_t>(
      {kxsim::kStartStream, kxsim::kSetGpio, kxsim::kGetGpio, kxsim::kSensorWrite, kxsim::kSensorRead,
       kxsim::kResolutionQuery, kxsim::kHighSpeed, kxsim::kTriggerMode, kxsim::kIspWrite, kxsim::kIspRead,
       kxsim::kResolutionSelect, kxsim::kEepromRead, kxsim::kEepromWrite, kxsim::kStopStream,
       kxsim::kLineSettings, kxsim::kRegionOfInterest});
  // What the camera's memory says must stay what was stored there: a wrong serial number is another camera.
  const bool memory = code == kxsim::kEepromRead || code == kxsim::kEepromWrite;
  constexpr std::array kActions = {RequestFault::Action::kStall, RequestFault::Action::kTimeout,
                                   RequestFault::Action::kShort, RequestFault::Action::kGarbage};
  const RequestFault fault{.action = kActions[static_cast<size_t>(between(0, memory ? 1 : 3))],
                           .which = next_few(),
                           .code = code,
                           .length = static_cast<size_t>(between(0, 3))};
  camera_->inject({.requests = {fault}});
}

void Mischief::break_transfers() {
  const BulkFault fault{
      .action = pick({BulkFault::Action::kStall, BulkFault::Action::kOverflow, BulkFault::Action::kError}),
      .which = {.first = 1, .last = static_cast<uint64_t>(between(1, 3))}};
  camera_->inject({.bulk = {fault}});
}

void Mischief::pull_cable() {
  VirtualBus& bus = VirtualBus::instance();
  bus.unplug(*camera_);
  std::this_thread::sleep_for(milliseconds(between(0, 300)));
  bus.plug(camera_, first_port_ + between(0, kPorts - 1));
}

void Mischief::loose_contact() {
  camera_->inject({.unplugs = {{.when = kxsim::UnplugFault::When::kFrames,
                                .count = static_cast<uint64_t>(between(1, 20)),
                                .back_after = milliseconds(between(1, 200))}}});
  std::this_thread::sleep_for(milliseconds(between(100, 500)));
  EXPECT_TRUE(eventually([&] { return on_bus(*camera_); })) << "a camera stayed away";
}

}  // namespace kxcam::test

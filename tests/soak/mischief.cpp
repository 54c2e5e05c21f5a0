// SPDX-License-Identifier: Apache-2.0
#include "mischief.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>
#include <utility>

#include "device/vendor_request.h"
#include "kxcam/kxcam.h"
#include "usbfs/virtual_bus.h"

namespace kxcam::soak {

namespace {

using namespace std::chrono_literals;
using kxsim::BulkFault;
using kxsim::FrameFault;
using kxsim::RequestFault;
using kxsim::VirtualBus;

void sleep_ms(int milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

/// The next few events.
kxsim::Ordinals next_few(Random& random) {
  const auto first = static_cast<uint64_t>(random.between(1, 5));
  return {.first = first, .last = first + static_cast<uint64_t>(random.between(0, 2))};
}

bool on_bus(const kxsim::SimulatedCamera& device) {
  const auto present = VirtualBus::instance().cameras();
  return device.powered() &&
         std::ranges::any_of(present, [&](const auto& one) { return one.get() == &device; });
}

}  // namespace

bool wait_for_plug(const kxsim::SimulatedCamera& device) {
  constexpr int kTries = 5000;
  for (int i = 0; i < kTries && !on_bus(device); ++i) sleep_ms(1);
  return on_bus(device);
}

void Mischief::run() {
  while (!stage_.ending) {
    {
      const Gate::Pass pass(stage_.gate);
      act();
    }
    sleep_ms(random_.between(20, 600));
  }
}

void Mischief::act() {
  // What a program does that gets no more pictures.
  const uint64_t deliveries = camera().deliveries();
  if (std::exchange(deliveries_before_, deliveries) == deliveries) reconnect();
  const int choice = random_.between(1, 100);
  if (choice <= 45) return spoil_frames();
  if (choice <= 75) return spoil_requests();
  if (choice <= 85) return break_transfers();
  if (choice <= 92) return pull_cable();
  if (choice <= 96) return loose_contact();
  reconnect();
}

void Mischief::inject(const char* what, const kxsim::FaultPlan& plan) {
  camera().device()->inject(plan);
  stage_.faults.add(what);
}

void Mischief::spoil_frames() {
  // All of them leave frames of lengths that no geometry in use has.
  static constexpr std::array kShorter = {1, 512, 5000};
  static constexpr std::array kLonger = {1, 700, 1500};
  FrameFault fault{.which = next_few(random_)};
  switch (random_.between(1, 4)) {
    case 1:
      fault.action = FrameFault::Action::kShort;
      fault.bytes = static_cast<size_t>(random_.pick(kShorter));
      return inject("short frames", {.frames = {fault}});
    case 2:
      fault.action = FrameFault::Action::kLong;
      fault.bytes = static_cast<size_t>(random_.pick(kLonger));
      return inject("long frames", {.frames = {fault}});
    case 3:
      return withhold_ends();
    default:
      fault.action = FrameFault::Action::kMissing;
      return inject("missing frames", {.frames = {fault}});
  }
}

void Mischief::withhold_ends() {
  FrameFault fault{.action = FrameFault::Action::kUnended, .which = next_few(random_)};
  // After whole packets the next frame runs on in the host's read, else it overruns that.
  constexpr size_t kPacket = 1024;
  const bool whole_packets = random_.chance(70);
  fault.bytes = whole_packets ? camera().device()->frame_bytes() % kPacket : 1;
  inject("frames without an end", {.frames = {fault}});
  if (whole_packets) return;
  sleep_ms(random_.between(50, 500));
  reconnect();
}

void Mischief::spoil_requests() {
  static constexpr std::array kCodes = {
      kxsim::kStartStream, kxsim::kSetGpio,         kxsim::kGetGpio,          kxsim::kSensorWrite,
      kxsim::kSensorRead,  kxsim::kResolutionQuery, kxsim::kHighSpeed,        kxsim::kTriggerMode,
      kxsim::kIspWrite,    kxsim::kIspRead,         kxsim::kResolutionSelect, kxsim::kEepromRead,
      kxsim::kEepromWrite, kxsim::kStopStream,      kxsim::kLineSettings,     kxsim::kRegionOfInterest,
  };
  const uint8_t code = random_.pick(kCodes);
  RequestFault fault{.which = next_few(random_), .code = code};
  // What the camera's memory says must stay what was stored there: a wrong serial number is another camera.
  const bool memory = code == kxsim::kEepromRead || code == kxsim::kEepromWrite;
  switch (random_.between(1, memory ? 2 : 4)) {
    case 1:
      fault.action = RequestFault::Action::kStall;
      return inject("stalled requests", {.requests = {fault}});
    case 2:
      fault.action = RequestFault::Action::kTimeout;
      return inject("unanswered requests", {.requests = {fault}});
    case 3:
      fault.action = RequestFault::Action::kShort;
      fault.length = static_cast<size_t>(random_.between(0, 3));
      return inject("short replies", {.requests = {fault}});
    default:
      fault.action = RequestFault::Action::kGarbage;
      return inject("replies of noise", {.requests = {fault}});
  }
}

void Mischief::break_transfers() {
  const auto reads = static_cast<uint64_t>(random_.between(1, 3));
  BulkFault fault{.which = {.first = 1, .last = reads}};
  switch (random_.between(1, 3)) {
    case 1:
      fault.action = BulkFault::Action::kStall;
      inject("stalled transfers", {.bulk = {fault}});
      break;
    case 2:
      fault.action = BulkFault::Action::kOverflow;
      inject("overflowing transfers", {.bulk = {fault}});
      break;
    default:
      fault.action = BulkFault::Action::kError;
      inject("transfer errors", {.bulk = {fault}});
      break;
  }
  // The reader resets the camera, after which most of them do not stream.
  sleep_ms(random_.between(20, 300));
  reconnect();
}

void Mischief::pull_cable() {
  VirtualBus& bus = VirtualBus::instance();
  const auto device = camera().device();
  bus.unplug(*device);
  stage_.faults.add("cable pulled");
  sleep_ms(random_.between(0, 300));
  if (random_.chance(30)) reconnect();
  constexpr int kPortsEach = 8;
  const int port = 1 + kPortsEach * static_cast<int>(camera().number()) + random_.between(0, kPortsEach - 1);
  bus.plug(device, port);
  sleep_ms(random_.between(0, 50));
  reconnect();
}

void Mischief::loose_contact() {
  const auto frames = static_cast<uint64_t>(random_.between(1, 20));
  inject("loose contact", {.unplugs = {{.when = kxsim::UnplugFault::When::kFrames,
                                        .count = frames,
                                        .back_after = std::chrono::milliseconds(random_.between(1, 200))}}});
  sleep_ms(random_.between(100, 500));
  if (!wait_for_plug(*camera().device())) return stage_.violations.add("a camera stayed away");
  reconnect();
}

void Mischief::reconnect() {
  stage_.watch("CameraReconnect", Patience::kWholeCamera, [&] { return CameraReconnect(index_); });
}

}  // namespace kxcam::soak

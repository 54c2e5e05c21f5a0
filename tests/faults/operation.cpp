// SPDX-License-Identifier: Apache-2.0
#include "operation.h"

#include <algorithm>
#include <array>

#include "core/acquisition/frame_ring.h"
#include "kxcam/kxcam.h"
#include "settings_in_range.h"

namespace kxcam::faults {
namespace {

using namespace std::chrono_literals;

/// More than the ring holds, so that some of them arrive during the operation.
constexpr int kPictures = 2 * kHostBufferCount;
constexpr int kMissesAccepted = 2;

void leave_open(FaultyCamera&) {}

void close_first(FaultyCamera&) {
  CameraFree(kCamera);
}

bool is_open() {
  return CameraReset(kCamera) == 0;
}

// The stream.

void expect_pictures_again(FaultyCamera& camera, Aftermath aftermath) {
  if (!is_open()) return;
  const bool streams_after_reset = !camera.device().model().newer_bridge();
  const bool interrupted =
      aftermath == Aftermath::kPulled || (aftermath == Aftermath::kReset && !streams_after_reset);
  if (interrupted) {
    camera.plug_in_if_pulled();
    EXPECT_EQ(CameraReconnect(kCamera), 0U) << "code " << last_error;
  }
  EXPECT_TRUE(FaultyCamera::delivers_in_the_end()) << "code " << last_error;
}

void expect_pictures_if_nothing_was_lost(FaultyCamera&, Aftermath aftermath) {
  if (aftermath == Aftermath::kNone) {
    EXPECT_TRUE(FaultyCamera::delivers_in_the_end()) << "code " << last_error;
  }
}

/// With room for a frame that is lost, and for one that is late.
bool take_pictures(bool (*take)()) {
  int taken = 0;
  for (int misses = 0; taken < kPictures && misses <= kMissesAccepted;) take() ? ++taken : ++misses;
  return taken == kPictures;
}

bool open(FaultyCamera&) {
  return CameraInit(kCamera) == 0;
}

bool open_and_take_pictures(FaultyCamera& camera) {
  return open(camera) && take_pictures(FaultyCamera::delivers);
}

/// The automatic sends requests while pictures are made.
void switch_automatic_on(FaultyCamera&) {
  EXPECT_EQ(CameraSetAGC(kCamera, true), 0U);
  EXPECT_EQ(CameraSetAEC(kCamera, true), 0U);
}

bool make_pictures(FaultyCamera&) {
  return take_pictures(FaultyCamera::makes_picture);
}

// Register access only.

bool open_registers(FaultyCamera&) {
  return CameraInitIO(kCamera) == 0;
}

void expect_no_stream(FaultyCamera& camera, Aftermath) {
  if (!is_open()) return;
  EXPECT_FALSE(camera.device().streaming() && camera.device().model().newer_bridge());
}

// Stored settings.

void change_settings(FaultyCamera&) {
  CameraSetGain(kCamera, 99);
  CameraSetGamma(kCamera, 0.5);
  CameraSetWBGain(kCamera, 1.5, 1.0, 2.0);
  CameraSetBlackLevel(kCamera, 20);
}

bool save(FaultyCamera&) {
  return CameraSaveParameter(kCamera, 0) == 0;
}

const std::vector<uint8_t>& saved_without_a_fault(FaultyCamera& camera) {
  static const std::vector<uint8_t> saved = [&] {
    camera.restore();
    change_settings(camera);
    EXPECT_TRUE(save(camera));
    return camera.stored();
  }();
  return saved;
}

/// Every byte is the new one or, unless all was written, the old one.
void expect_saved(FaultyCamera& camera, Aftermath aftermath) {
  const std::vector<uint8_t> now = camera.stored();
  const std::vector<uint8_t>& saved = saved_without_a_fault(camera);
  const std::vector<uint8_t>& before = camera.factory_settings();
  for (size_t i = 0; i < now.size(); ++i) {
    const bool kept = aftermath != Aftermath::kNone && now[i] == before[i];
    if (now[i] != saved[i] && !kept) ADD_FAILURE() << "byte " << int{now[i]} << " at address " << i;
  }
}

/// The older bridges lack the registers of some settings.
bool load(FaultyCamera& camera) {
  return CameraLoadParameter(kCamera, 0) == 0 ||
         (!camera.device().model().newer_bridge() && last_error == KXCAM_ERROR_NOT_SUPPORTED);
}

void expect_settings_in_range(FaultyCamera&, Aftermath) {
  test::expect_settings_in_range(kCamera);
}

// Away and back.

void pull_and_plug(FaultyCamera& camera) {
  camera.pull_and_plug();
}

bool reconnect(FaultyCamera&) {
  return CameraReconnect(kCamera) == 0;
}

bool reconnect_and_take_pictures(FaultyCamera& camera) {
  return reconnect(camera) && take_pictures(FaultyCamera::delivers);
}

/// Once more, and nothing has happened.
void expect_reconnect_again(FaultyCamera& camera, Aftermath) {
  camera.plug_in_if_pulled();
  EXPECT_EQ(CameraReconnect(kCamera), 0U) << "code " << last_error;
  EXPECT_TRUE(FaultyCamera::delivers_in_the_end()) << "code " << last_error;
}

// The end.

/// A read of image data is under way then.
void fall_silent(FaultyCamera& camera) {
  camera.device().inject({.stream_frames = 0});
  CameraClearHostBuffer(kCamera);
}

bool close(FaultyCamera&) {
  return CameraFree(kCamera) == 0;
}

bool empty_the_ring_and_close(FaultyCamera& camera) {
  int taken = 0;
  while (taken < kHostBufferCount && FaultyCamera::delivers()) ++taken;
  return close(camera);
}

void expect_closed(FaultyCamera&, Aftermath) {
  EXPECT_FALSE(is_open());
}

}  // namespace

std::span<const Operation> operations() {
  using enum Target;
  // clang-format off
  static const std::array kOperations = {
      Operation{"open", {kRequests}, close_first, open, {KXCAM_ERROR_NO_DEVICE}, 1s, 30s, expect_pictures_if_nothing_was_lost},
      Operation{"open for register access", {kRequests}, close_first, open_registers, {KXCAM_ERROR_NO_DEVICE}, 500ms, 3s, expect_no_stream},
      Operation{"open and take pictures", {kReads}, close_first, open_and_take_pictures, {KXCAM_ERROR_NO_DEVICE, KXCAM_ERROR_NO_FRAME}, 3s, 32s, expect_pictures_again},
      Operation{"take pictures", {kRequests, kReads}, switch_automatic_on, make_pictures, {KXCAM_ERROR_NO_FRAME}, 2s, 3s, expect_pictures_again},
      Operation{"save the settings", {kRequests, kReads}, change_settings, save, {}, 1s, 20s, expect_saved},
      Operation{"load the settings", {kRequests, kReads}, leave_open, load,
                {KXCAM_ERROR_ARGUMENT, KXCAM_ERROR_NOT_SUPPORTED, KXCAM_ERROR_READ_REQUEST, KXCAM_ERROR_WRITE_REQUEST}, 1s, 25s, expect_settings_in_range},
      Operation{"reconnect", {kRequests}, pull_and_plug, reconnect, {KXCAM_ERROR_NO_DEVICE}, 1s, 4s, expect_reconnect_again},
      Operation{"reconnect and take pictures", {kReads}, pull_and_plug, reconnect_and_take_pictures, {KXCAM_ERROR_NO_DEVICE, KXCAM_ERROR_NO_FRAME}, 3s, 4s, expect_pictures_again},
      Operation{"close", {kRequests}, leave_open, close, {}, 1s, 1s, expect_closed},
      Operation{"close while frames arrive", {kReads}, leave_open, empty_the_ring_and_close, {}, 2s, 2s, expect_closed},
      Operation{"close a silent camera", {kRequests}, fall_silent, close, {}, 1s, 1s, expect_closed},
  };
  // clang-format on
  return kOperations;
}

}  // namespace kxcam::faults

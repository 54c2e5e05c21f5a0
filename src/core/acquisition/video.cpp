// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/video.h"

#include <algorithm>

#include "core/control/registers.h"
#include "usb/bridge.h"
#include "usb/requests.h"

namespace kxcam {

namespace {

constexpr int kShortestTimeoutMs = 500;
constexpr int kLongestTimeoutMs = 50000;

bool switch_stream(CameraContext& camera, bridge::Request request) {
  if (!camera.model().newer_bridge()) return true;
  const DeviceHandle handle = find_device(camera);
  if (handle == nullptr) return false;
  read_short(handle.get(), request, 0, 0);
  return true;
}

}  // namespace

bool start_video(CameraContext& camera) {
  return switch_stream(camera, bridge::kStartStream);
}

bool stop_video(CameraContext& camera) {
  return switch_stream(camera, bridge::kStopStream);
}

bool clear_host_buffer(CameraContext& camera) {
  if (find_device(camera) == nullptr) return false;
  if (camera.stream.ring != nullptr) camera.stream.ring->flush();
  return true;
}

void abort_query(CameraContext& camera) {
  camera.stream.stop();
}

bool set_time_out(CameraContext& camera, int ms) {
  camera.parameter.time_out = std::clamp(ms, kShortestTimeoutMs, kLongestTimeoutMs);
  return true;
}

int get_time_out(const CameraContext& camera) {
  return camera.parameter.time_out;
}

}  // namespace kxcam

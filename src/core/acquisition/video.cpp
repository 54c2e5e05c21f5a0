// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/video.h"

#include <algorithm>

#include "core/registry/contexts.h"
#include "usb/control_channel.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

constexpr uint8_t kStartStream = 0xA2;
constexpr uint8_t kStopStream = 0xA3;
constexpr int kShortestTimeoutMs = 500;
constexpr int kLongestTimeoutMs = 50000;

bool ask_bridge(int camera, uint8_t request) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  if (!context->model().newer_bridge()) return true;
  const DeviceHandle handle = find_device(*context);
  if (handle == nullptr) return false;
  ShortReply reply;
  long length = 0;
  read_short(handle.get(), request, 0, 0, reply, length);
  return true;
}

}  // namespace

bool start_video(int camera) {
  return ask_bridge(camera, kStartStream);
}

bool stop_video(int camera) {
  return ask_bridge(camera, kStopStream);
}

bool clear_host_buffer(int camera) {
  const OpenCamera open = find_open_camera(camera);
  if (!open) return false;
  const ReadLock reading(open->context_lock);
  if (open->stream.ring != nullptr) open->stream.ring->flush();
  return true;
}

bool abort_query(int camera) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  context->stream.running = false;
  return true;
}

bool set_time_out(int camera, int ms) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  context->parameter.time_out = std::clamp(ms, kShortestTimeoutMs, kLongestTimeoutMs);
  return true;
}

bool get_time_out(int camera, int* ms) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  *ms = context->parameter.time_out;
  return true;
}

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/line_scan.h"

#include "core/registry/contexts.h"
#include "core/sensors/sensor_family.h"
#include "usb/control_channel.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

constexpr uint8_t kLineScan = 0xB5;
constexpr uint16_t kLineHeight = 1;
constexpr uint16_t kLineTrigger = 3;
constexpr uint16_t kLinesPerTrigger = 4;

bool send_to_line_scan_sensor(const CameraContext& context, uint16_t index, uint16_t value) {
  if (!context.family.line_scan) return true;
  const DeviceHandle handle = find_device(context);
  if (handle == nullptr) return false;
  ShortReply reply;
  long length = 0;
  return read_short(handle.get(), kLineScan, index, value, reply, length) || fail(KXCAM_ERROR_READ_REQUEST);
}

}  // namespace

bool set_line_height(int camera, int lines) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  context->parameter.line_height = static_cast<uint16_t>(lines);
  return send_to_line_scan_sensor(*context, kLineHeight, static_cast<uint16_t>(lines));
}

int get_line_height(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : context->parameter.line_height.load();
}

bool set_line_trigger(int camera, int on) {
  const ContextRef context = find_camera(camera);
  if (context == nullptr) return false;
  const uint8_t flag = on == 1 ? 1 : 0;
  context->parameter.line_trigger = flag;
  return send_to_line_scan_sensor(*context, kLineTrigger, flag);
}

int get_line_trigger(int camera) {
  const ContextRef context = find_camera(camera);
  return context == nullptr ? -1 : context->parameter.line_trigger.load();
}

bool send_lines_per_trigger(const CameraContext& camera, uint16_t lines) {
  return send_to_line_scan_sensor(camera, kLinesPerTrigger, lines);
}

}  // namespace kxcam

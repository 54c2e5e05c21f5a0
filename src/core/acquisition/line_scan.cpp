// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/line_scan.h"

#include "core/control/registers.h"
#include "core/registry/camera_context.h"
#include "core/sensors/sensor_family.h"
#include "usb/bridge.h"

namespace kxcam {

namespace {

bool send_to_line_scan_sensor(const CameraContext& camera, bridge::LineScanIndex index, uint16_t value) {
  return !camera.family.line_scan || ask_bridge(camera, bridge::kLineScan, index, value).has_value();
}

}  // namespace

bool set_line_height(CameraContext& camera, int lines) {
  camera.parameter.line_height = static_cast<uint16_t>(lines);
  return send_to_line_scan_sensor(camera, bridge::kLineHeight, static_cast<uint16_t>(lines));
}

int get_line_height(const CameraContext& camera) {
  return camera.parameter.line_height;
}

bool set_line_trigger(CameraContext& camera, int on) {
  const uint8_t flag = on == 1 ? 1 : 0;
  camera.parameter.line_trigger = flag;
  return send_to_line_scan_sensor(camera, bridge::kLineTrigger, flag);
}

int get_line_trigger(const CameraContext& camera) {
  return camera.parameter.line_trigger;
}

bool send_lines_per_trigger(const CameraContext& camera, uint16_t lines) {
  return send_to_line_scan_sensor(camera, bridge::kLinesPerTrigger, lines);
}

}  // namespace kxcam

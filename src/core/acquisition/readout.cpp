// SPDX-License-Identifier: Apache-2.0
#include "core/acquisition/readout.h"

#include <array>
#include <optional>
#include <utility>

#include "core/acquisition/orientation.h"
#include "core/control/exposure.h"
#include "core/control/frame_timing.h"
#include "core/control/registers.h"
#include "core/sensors/sensor_family.h"
#include "usb/bridge.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {

uint16_t little_endian(const ShortReply& reply, size_t at) {
  return static_cast<uint16_t>(reply[at] | reply[at + 1] << 8);
}

std::optional<ShortReply> inquire(const CameraContext& camera, bridge::GeometryIndex index, int value) {
  return ask_bridge(camera, bridge::kGeometryInquiry, index, static_cast<uint16_t>(value));
}

/// The geometry in a reply; nothing, with READ_REQUEST, when no frame of this sensor can have it.
std::optional<FrameGeometry> plausible_geometry(const CameraContext& context, const ShortReply& reply) {
  const uint16_t bytes = little_endian(reply, 4);
  const FrameGeometry geometry{little_endian(reply, 0), little_endian(reply, 2), bytes};
  const int64_t pixels = int64_t{geometry.frame_width} * geometry.frame_height;
  if (pixels < 1 || pixels > context.model().SENSOR_ARRAY.pixels() || bytes < 1 || bytes > 2) {
    set_last_error(KXCAM_ERROR_READ_REQUEST);
    return std::nullopt;
  }
  return geometry;
}

void hand_out(const CameraContext& context, const FrameGeometry& geometry, int* width, int* height,
              int* bytes) {
  if ((context.parameter.isp_flags & kRotate90) != 0) std::swap(width, height);
  if (width != nullptr) *width = geometry.frame_width;
  if (height != nullptr) *height = geometry.frame_height;
  if (bytes != nullptr) *bytes = static_cast<int>(geometry.bytes_per_pixel);
}

}  // namespace

int get_resolution_count(const CameraContext& camera) {
  const auto reply = inquire(camera, bridge::kPresetCount, 0);
  return reply ? (*reply)[0] : -1;
}

bool get_resolution_max(const CameraContext& camera, int* width, int* height) {
  const auto reply = inquire(camera, bridge::kLargestSize, 0);
  if (!reply) return false;
  if (width != nullptr) *width = little_endian(*reply, 0);
  if (height != nullptr) *height = little_endian(*reply, 2);
  return true;
}

bool get_resolution(const CameraContext& camera, int preset, int* width, int* height, int* bytes) {
  const auto reply = inquire(camera, bridge::kPreset, preset);
  if (!reply) return false;
  const std::optional<FrameGeometry> geometry = plausible_geometry(camera, *reply);
  if (!geometry) return false;
  hand_out(camera, *geometry, width, height, bytes);
  return true;
}

bool set_resolution(CameraContext& camera, int preset, int* width, int* height, int* bytes) {
  const auto reply =
      ask_bridge(camera, bridge::kSelectGeometry, bridge::kPreset, static_cast<uint16_t>(preset));
  if (!reply) return false;
  const std::optional<FrameGeometry> geometry = plausible_geometry(camera, *reply);
  if (!geometry) return false;
  camera.stream.readout.store(std::make_shared<const ReadoutInForce>(ReadoutInForce{.preset = preset}));
  camera.stream.set_geometry(*geometry);
  UpdateImageIdx(camera);  // at once: frames of that size may be there before the delay is
  hand_out(camera, *geometry, width, height, bytes);
  reapply_delay(camera);
  camera.parameter.enable_roi = 0;
  camera.parameter.resolution_index = static_cast<uint8_t>(preset);
  set_exposure_width(camera, 0, 0);
  return true;
}

bool set_resolution_mode(CameraContext& camera, int mode) {
  camera.parameter.resolution_mode = static_cast<uint8_t>(mode);
  return inquire(camera, bridge::kReadoutMode, mode & 0xFF).has_value();
}

int get_resolution_mode(const CameraContext& camera) {
  return camera.parameter.resolution_mode;
}

namespace {

bool is_aligned(const RoiAlignment& unit, int x, int y, int w, int h) {
  return x % unit.x_and_width == 0 && w % unit.x_and_width == 0 && y % unit.y_and_height == 0 &&
         h % unit.y_and_height == 0;
}

bool write_window(libusb_device_handle* handle, const SensorWindow& window) {
  std::array<uint8_t, 4> size = {static_cast<uint8_t>(window.width), static_cast<uint8_t>(window.width >> 8),
                                 static_cast<uint8_t>(window.height),
                                 static_cast<uint8_t>(window.height >> 8)};
  long length = static_cast<long>(size.size());
  return EP0Write(handle, bridge::kRegionOfInterest, window.y, window.x, size.data(), length) ||
         fail(KXCAM_ERROR_WRITE_REQUEST);
}

/// Bytes per raw sample in the new window; nothing, with READ_REQUEST, when the camera did not take it.
std::optional<uint8_t> confirm_window(libusb_device_handle* handle, const SensorWindow& window) {
  const auto reply = read_short(handle, bridge::kRegionOfInterest, window.y, window.x);
  if (!reply || (*reply)[0] < 1 || (*reply)[0] > 2) {
    set_last_error(KXCAM_ERROR_READ_REQUEST);
    return std::nullopt;
  }
  return (*reply)[0];
}

/// Nothing when it does not lie on the sensor.
std::optional<SensorWindow> window_on(const SensorSize& sensor, int64_t left, int64_t top, int64_t width,
                                      int64_t height) {
  if (left < 0 || top < 0 || width < 1 || height < 1 || left + width > sensor.width ||
      top + height > sensor.height) {
    return std::nullopt;
  }
  return SensorWindow{static_cast<uint16_t>(left), static_cast<uint16_t>(top), static_cast<uint16_t>(width),
                      static_cast<uint16_t>(height)};
}

bool read_out(CameraContext& camera, const RegionInForce& region) {
  const SensorWindow& window = region.window;
  const DeviceHandle handle = find_device(camera);
  if (handle == nullptr || !write_window(handle.get(), window)) return false;
  const std::optional<uint8_t> bytes = confirm_window(handle.get(), window);
  if (!bytes) return false;

  // The 12-bit bridge answers 1 for a window; its samples take two bytes there as in every preset.
  const bool twelve_bits = camera.model().COLOR_MODE == kMono12;
  camera.stream.readout.store(std::make_shared<const ReadoutInForce>(ReadoutInForce{.region = region}));
  camera.stream.set_geometry({window.width, window.height, twelve_bits ? 2U : *bytes});
  UpdateImageIdx(camera);  // at once: frames of the window may be there before the delay is
  reapply_delay(camera);
  return true;
}

/// The region becomes a setting as it was asked for.
void keep_region(CameraContext& camera, int x, int y, int w, int h) {
  CameraParameter& parameter = camera.parameter;
  parameter.roi_offset_x = static_cast<uint16_t>(x);
  parameter.roi_offset_y = static_cast<uint16_t>(y);
  parameter.roi_width = static_cast<uint16_t>(w);
  parameter.roi_height = static_cast<uint16_t>(h);
  parameter.resolution_index = 0;
  parameter.enable_roi = 1;
  set_exposure_width(camera, 0, 0);
}

}  // namespace

std::optional<SensorWindow> MapViewToSensor(const CameraContext& context, int x, int y, int w, int h) {
  const RoiAlignment two_pixels;
  if (!is_aligned(two_pixels, x, y, w, h) || !is_aligned(context.family.roi_alignment, x, y, w, h)) {
    return std::nullopt;
  }
  const SensorSize sensor = context.model().SENSOR_ARRAY;
  const uint16_t flags = context.parameter.isp_flags;
  const int64_t along_x = (flags & kMirrorX) != 0 ? int64_t{sensor.width} - x - w : x;
  const int64_t along_y = (flags & kMirrorY) != 0 ? int64_t{sensor.height} - y - h : y;

  const bool rotated = (flags & kRotate90) != 0;
  const int64_t left = rotated ? along_y : along_x;
  const int64_t top = rotated ? along_x : along_y;
  return window_on(sensor, left, top, rotated ? h : w, rotated ? w : h);
}

bool set_ROI(CameraContext& camera, int x, int y, int w, int h) {
  const std::optional<SensorWindow> window = MapViewToSensor(camera, x, y, w, h);
  if (!window) return fail(KXCAM_ERROR_ARGUMENT);
  if (!read_out(camera, {*window, static_cast<uint16_t>(x), static_cast<uint16_t>(y)})) return false;
  keep_region(camera, x, y, w, h);
  return true;
}

bool select_resolution(CameraContext& camera, int preset, int* width, int* height) {
  if (!set_resolution(camera, preset, width, height, nullptr)) return false;
  reapply_exposure(camera);
  return true;
}

bool select_ROI(CameraContext& camera, int x, int y, int w, int h) {
  if (!set_ROI(camera, x, y, w, h)) return false;
  reapply_exposure(camera);
  return true;
}

std::optional<SensorWindow> window_of_picture(const CameraContext& camera, int x, int y, int w, int h) {
  const SensorSize sensor = camera.model().SENSOR_ARRAY;
  const uint16_t flags = camera.parameter.isp_flags;
  const bool rotated = (flags & kRotate90) != 0;
  // Along the sensor's rows and columns: where the picture runs the other way, from its end.
  const int64_t along_x = rotated ? y : x;
  const int64_t width = rotated ? h : w;
  const int64_t along_y = rotated ? x : y;
  const int64_t height = rotated ? w : h;
  const bool backwards_x = (flags & kMirrorX) != 0;
  const bool backwards_y = is_mirrored_y(camera) != rotated;
  const int64_t left = backwards_x ? sensor.width - along_x - width : along_x;
  const int64_t top = backwards_y ? sensor.height - along_y - height : along_y;
  const std::optional<SensorWindow> window = window_on(sensor, left, top, width, height);
  if (!window ||
      !is_aligned(camera.family.roi_alignment, window->x, window->y, window->width, window->height))
    return std::nullopt;
  return window;
}

bool select_region(CameraContext& camera, int x, int y, int w, int h) {
  const std::optional<SensorWindow> window = window_of_picture(camera, x, y, w, h);
  if (!window) return fail(KXCAM_ERROR_ARGUMENT);
  if (!read_out(camera, {*window, window->x, window->y})) return false;
  keep_region(camera, x, y, w, h);
  reapply_exposure(camera);
  return true;
}

bool reselect_readout(CameraContext& camera, const ReadoutInForce& readout) {
  CameraParameter& parameter = camera.parameter;
  const uint8_t enable_roi = parameter.enable_roi;
  const uint8_t preset = parameter.resolution_index;
  const bool selected = readout.region ? read_out(camera, *readout.region)
                                       : set_resolution(camera, readout.preset, nullptr, nullptr, nullptr);
  parameter.enable_roi = enable_roi;
  parameter.resolution_index = preset;
  if (selected) set_exposure_width(camera, 0, 0);
  return selected;
}

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

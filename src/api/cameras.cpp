// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <string>

#include "api/extra_boundary.h"
#include "core/control/auto_exposure.h"
#include "core/control/trigger.h"
#include "core/registry/bus_watch.h"
#include "core/registry/camera_open.h"
#include "core/registry/discovery.h"
#include "core/sensors/sensor_family.h"

using namespace kxcam;

namespace {

int32_t megabits(int32_t usb_speed) {
  constexpr std::array kSpeeds = {1, 12, 480, 5000, 10'000};
  const bool known = usb_speed >= 0 && static_cast<size_t>(usb_speed) < kSpeeds.size();
  return known ? kSpeeds[static_cast<size_t>(usb_speed)] : 0;
}

kxcam_bayer bayer_of(uint32_t color_mode) {
  switch (color_mode) {
    case kRGGB:
      return KXCAM_BAYER_RGGB;
    case kBGGR:
      return KXCAM_BAYER_BGGR;
    case kGRBG:
      return KXCAM_BAYER_GRBG;
    case kGBRG:
      return KXCAM_BAYER_GBRG;
    default:
      return KXCAM_BAYER_NONE;
  }
}

uint32_t features_of(const CameraContext& camera) {
  bool on = false;
  const bool unit = (camera.device.feature_bits & kTriggerUnit) != 0;
  return (camera.family.switch_trigger != nullptr ? unsigned{KXCAM_FEATURE_TRIGGER} : 0U) |
         (unit ? unsigned{KXCAM_FEATURE_TRIGGER_UNIT} : 0U) |
         (get_strobe(camera, &on) ? unsigned{KXCAM_FEATURE_STROBE} : 0U) |
         (camera.family.line_scan ? unsigned{KXCAM_FEATURE_LINE_SCAN} : 0U) |
         (bridge_has_loop(camera) ? unsigned{KXCAM_FEATURE_AUTO_EXPOSURE} : 0U);
}

kxcam_description describe(const CameraContext& camera) {
  const CameraModel& model = camera.model();
  kxcam_description is{};
  api::copy_text(is.serial, camera.parameter.serial_number.data());
  api::copy_text(is.model, model.MODEL);
  if (const DeviceHandle handle = camera.device.usb_handle.load(); handle != nullptr) {
    api::copy_text(is.port, port_name(port_of(libusb_get_device(handle.get()))).c_str());
    is.usb_speed = megabits(camera.device.usb_speed);
  }
  is.product_id = static_cast<int32_t>(model.PID);
  is.firmware = camera.device.firmware_version;
  is.sensor_width = model.SENSOR_ARRAY.width;
  is.sensor_height = model.SENSOR_ARRAY.height;
  is.bits = model.COLOR_MODE == kMono12 ? 12 : 8;
  is.bayer = bayer_of(model.COLOR_MODE);
  is.features = features_of(camera);
  is.region_step_x = camera.family.roi_alignment.x_and_width;
  is.region_step_y = camera.family.roi_alignment.y_and_height;
  is.longest_exposure = camera.family.longest_exposure;
  return is;
}

}  // namespace

int kxcam_open(const char* serial, int* camera) {
  return api::cause_of([&] {
    if (serial == nullptr || camera == nullptr) return fail(KXCAM_ERROR_ARGUMENT);
    const OpenedBySerial opened = open_by_serial(serial);
    if (opened.extra_error != 0) return api::fail_extra(static_cast<kxcam_extra_error>(opened.extra_error));
    if (opened.index >= 0) *camera = opened.index;
    return opened.index >= 0;
  });
}

int kxcam_describe(int camera, kxcam_description* description, size_t size) {
  return api::cause_with_camera(camera, description != nullptr, [&](CameraContext& context) {
    kxcam_description is = describe(context);
    const LastErrorKept nothing_failed;
    is.controls = api::offered_controls(camera);
    api::hand_out(is, description, size);
    return true;
  });
}

int kxcam_watch(bool on, int* fd) {
  return api::cause_of([&] {
    if (fd != nullptr) *fd = -1;
    if (!on) {
      end_watch();
      return true;
    }
    const WatchBegun begun = begin_watch();
    if (begun.extra_error != 0) return api::fail_extra(static_cast<kxcam_extra_error>(begun.extra_error));
    if (begun.descriptor >= 0 && fd != nullptr) *fd = begun.descriptor;
    return begun.descriptor >= 0;
  });
}

int kxcam_next_event(kxcam_bus_event* event, size_t size) {
  return api::cause_of([&] {
    if (event == nullptr) return fail(KXCAM_ERROR_ARGUMENT);
    const std::optional<BusEvent> next = next_bus_event();
    if (!next) return fail(KXCAM_ERROR_NO_FRAME);
    kxcam_bus_event is{};
    is.arrived = next->arrived ? 1 : 0;
    is.product_id = next->product_id;
    api::copy_text(is.serial, next->serial.c_str());
    api::copy_text(is.port, next->port.c_str());
    if (const int row = find_model(static_cast<uint32_t>(next->product_id)); row != kUnknownModel)
      api::copy_text(is.model, model_table[static_cast<size_t>(row)].MODEL);
    is.usb_speed = megabits(next->usb_speed);
    api::hand_out(is, event, size);
    return true;
  });
}

// SPDX-License-Identifier: Apache-2.0
#include "core/registry/camera_open.h"

#include <mutex>

#include "core/acquisition/frame_reader.h"
#include "core/acquisition/orientation.h"
#include "core/registry/camera_context.h"
#include "core/registry/contexts.h"
#include "core/registry/discovery.h"
#include "core/sensors/sensor_family.h"
#include "sync/clock.h"
#include "usb/control_channel.h"
#include "usb/kxusb.h"
#include "usb/last_error.h"

namespace kxcam {

namespace {
constexpr int kQuietTimeMs = 50;
/// Newer firmware sets up its sensor by itself and reports its capabilities.
constexpr int32_t kLastPlainFirmware = 0x8000;
}  // namespace

void attach_device(CameraContext& context, const DeviceHandle& handle) {
  context.device.usb_speed = kxusb_get_device_speed(libusb_get_device(handle.get())) - 1;
  context.device.usb_handle.store(handle);
  kxusb_claim_interface(handle.get(), kImageInterface);
}

void wake_sensor(const CameraContext& context, libusb_device_handle* handle) {
  const int32_t firmware = context.device.firmware_version;
  if (context.family.wake_sensor != nullptr && firmware <= kLastPlainFirmware)
    context.family.wake_sensor(handle, firmware);
}

void detach_device(CameraContext& context) {
  context.stream.running = false;
  const DeviceHandle handle = context.device.usb_handle.load();
  if (handle == nullptr) return;
  sysdelay(kQuietTimeMs);
  join_reader(context);
  kxusb_release_interface(handle.get(), kImageInterface);
  context.device.usb_handle.store(nullptr);
}

namespace {

constexpr uint8_t kFirmwareVersion = 0xB3;
constexpr uint8_t kFeatureBits = 0xA8;

/// Enumerates once more and takes the device found before, unless another one has taken its number.
DeviceHandle reopen(int device, int product_id) {
  const Enumeration bus;
  if (device >= bus.result()) return nullptr;
  const DeviceHandle handle = bus.devices()[static_cast<size_t>(device)];
  const uint16_t product = kxusb_getproduct(handle.get());
  return product == product_id || product == kGenericProduct ? handle : nullptr;
}

int32_t read_firmware_version(libusb_device_handle* handle) {
  ShortReply reply;
  long length = 0;
  if (!read_short(handle, kFirmwareVersion, 0, 0, reply, length)) return 0;
  return static_cast<int32_t>(uint32_t{reply[0]} << 24 | uint32_t{reply[1]} << 16 | uint32_t{reply[2]} << 8 |
                              reply[3]);
}

uint16_t read_feature_bits(libusb_device_handle* handle) {
  ShortReply reply;
  long length = 0;
  if (!read_short(handle, kFeatureBits, 0, 0, reply, length)) return 0;
  return length == 2 ? static_cast<uint16_t>(reply[0] | reply[1] << 8) : reply[0];
}

/// What acquisition needs before the first frame: a bridge in a known state, the sensor awake, tables
/// and buffers of the sensor's full size.
void prepare_acquisition(CameraContext& context, libusb_device_handle* handle) {
  const CameraModel& model = context.model();
  const SensorSize sensor = model.SENSOR_ARRAY;
  if (model.newer_bridge()) kxusb_reset_device(handle);
  set_full_frame(context);
  context.device.firmware_version = read_firmware_version(handle);
  context.picture.flat_field.store(std::make_shared<const FlatField>(sensor));
  wake_sensor(context, handle);
  if (context.device.firmware_version > kLastPlainFirmware)
    context.device.feature_bits = read_feature_bits(handle);
  context.stream.ring = std::make_unique<FrameRing>(sensor.pixels());
}

void start_acquisition(int camera, CameraContext& context) {
  try {
    start_reader(context);
  } catch (...) {
    vacate_slot(camera);
    throw;
  }
  if (context.family.settling_time_ms > 0) {
    sysdelay(context.family.settling_time_ms);
    context.stream.ring->flush();
  }
}

}  // namespace

bool init_camera_ex(int camera, const char* /*name*/, unsigned int, int flags) {
  if (!check_index(camera)) return false;
  if (is_occupied(camera)) return fail(KXCAM_ERROR_IN_USE);

  SerialRecord serial{};
  int model_row = 0;
  int product_id = 0;
  const int device = get_camera_name(camera, serial.data(), nullptr, &model_row, &product_id);
  if (device < 0) return false;
  if (model_row == kUnknownModel) return fail(KXCAM_ERROR_NO_DEVICE);

  const DeviceHandle handle = reopen(device, product_id);
  if (handle == nullptr) return fail(KXCAM_ERROR_NO_DEVICE);

  const auto context = std::make_shared<CameraContext>(model_row);
  context->parameter.serial_number = serial;
  context->device.open_flags = flags;
  attach_device(*context, handle);
  const bool acquires = (flags & kOpenWithoutAcquisition) == 0;
  if (acquires) prepare_acquisition(*context, handle.get());
  context->stream.running = true;

  const std::lock_guard attachment(context->stream.attachment_mutex);
  if (!occupy_slot(camera, context)) return false;
  if (acquires) start_acquisition(camera, *context);
  return true;
}

bool init_camera(int camera) {
  return init_camera_ex(camera, nullptr, 0, 0);
}

bool reset_camera(int camera) {
  return find_camera(camera) != nullptr;
}

bool free_camera(int camera) {
  if (!check_index(camera)) return false;
  // The slot goes first: of two closes only one gets the context.
  const ContextRef context = vacate_slot(camera);
  if (context == nullptr) return fail(KXCAM_ERROR_NOT_OPEN);
  const WriteLock writing(context->context_lock);
  const std::lock_guard attachment(context->stream.attachment_mutex);
  detach_device(*context);
  return true;
}

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#include "core/registry/camera_open.h"

#include <mutex>
#include <optional>
#include <string_view>

#include "core/acquisition/frame_reader.h"
#include "core/acquisition/image_query.h"
#include "core/acquisition/orientation.h"
#include "core/acquisition/readout.h"
#include "core/persistence/parameter_sets.h"
#include "core/persistence/stored_tables.h"
#include "core/registry/contexts.h"
#include "core/registry/discovery.h"
#include "core/sensors/sensor_family.h"
#include "kxcam/extra.h"
#include "sync/clock.h"
#include "usb/bridge.h"
#include "usb/kxusb.h"
#include "usb/last_error.h"
#include "usb/requests.h"

namespace kxcam {

namespace {

constexpr int kQuietTimeMs = 50;
constexpr int kWindDownMs = 100;
/// Newer firmware sets up its sensor by itself and reports its capabilities.
constexpr int32_t kLastPlainFirmware = 0x8000;

std::nullptr_t nothing(kxcam_error code) {
  set_last_error(code);
  return nullptr;
}

/// Makes an open device the camera's and claims its image interface. A claim that fails, because another
/// program has the camera, shows in the transfers.
void attach_device(CameraContext& context, const DeviceHandle& handle) {
  context.device.usb_speed = kxusb_get_device_speed(libusb_get_device(handle.get())) - 1;
  context.device.usb_handle.store(handle);
  context.device.port = port_of(libusb_get_device(handle.get()));
  kxusb_claim_interface(handle.get(), kImageInterface);
}

/// Ends acquisition and the reader and lets go of the device, if there is one. Requests that are running in
/// other threads keep the handle until they return. Hold the context's attachment_mutex.
void detach_device(CameraContext& context) {
  context.stream.stop();
  const DeviceHandle handle = context.device.usb_handle.load();
  if (handle == nullptr) return;
  sysdelay(kQuietTimeMs);
  join_reader(context);
  kxusb_release_interface(handle.get(), kImageInterface);
  context.device.usb_handle.store(nullptr);
}

/// Enumerates once more and takes the device found before, unless another one has taken its number.
DeviceHandle reopen(int device, int product_id) {
  const Enumeration bus;
  if (device >= bus.result()) return nullptr;
  const DeviceHandle handle = bus.devices()[static_cast<size_t>(device)];
  const uint16_t product = kxusb_getproduct(handle.get());
  return product == product_id || product == kGenericProduct ? handle : nullptr;
}

int32_t read_firmware_version(libusb_device_handle* handle) {
  const ShortReply reply = read_short(handle, bridge::kFirmwareVersion, 0, 0).value_or(ShortReply{});
  return static_cast<int32_t>(uint32_t{reply[0]} << 24 | uint32_t{reply[1]} << 16 | uint32_t{reply[2]} << 8 |
                              reply[3]);
}

uint16_t read_feature_bits(libusb_device_handle* handle) {
  const ShortReply reply = read_short(handle, bridge::kFeatureBits, 0, 0).value_or(ShortReply{});
  return reply.length == 2 ? static_cast<uint16_t>(reply[0] | reply[1] << 8) : reply[0];
}

/// Writes what the sensor needs behind firmware that does not set it up by itself. `firmware_version` is
/// known.
void wake_sensor(const CameraContext& context, libusb_device_handle* handle) {
  const int32_t firmware = context.device.firmware_version;
  if (context.family.wake_sensor != nullptr && firmware <= kLastPlainFirmware)
    context.family.wake_sensor(handle, firmware);
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
  context.stream.ring = std::make_unique<FrameRing>(
      sensor.pixels(), FrameRing::Acquisition{context.stream.geometry, context.stream.running});
}

void start_acquisition(int index, CameraContext& context) {
  try {
    start_reader(context);
  } catch (...) {
    vacate_slot(index);
    throw;
  }
  if (context.family.settling_time_ms > 0) {
    sysdelay(context.family.settling_time_ms);
    context.stream.ring->flush();
  }
}

/// The camera behind an open device, with the device its own.
ContextRef attach_camera(const DeviceHandle& handle, int model_row, const SerialRecord& serial, int flags) {
  ContextRef context = std::make_shared<CameraContext>(model_row);
  context->parameter.serial_number = serial;
  context->device.open_flags = flags;
  attach_device(*context, handle);
  return context;
}

/// Prepares a camera, puts it into its slot and starts its reader.
bool bring_up(int index, const ContextRef& context) {
  const bool acquires = (context->device.open_flags & kOpenWithoutAcquisition) == 0;
  if (acquires) prepare_acquisition(*context, context->device.usb_handle.load().get());
  context->stream.running = true;

  const std::lock_guard attachment(context->stream.attachment_mutex);
  if (!occupy_slot(index, context)) return false;
  if (acquires) start_acquisition(index, *context);
  return true;
}

/// Opens the camera at that position on the bus; null when it cannot be had.
ContextRef open_slot(int index, int flags) {
  if (!check_index(index)) return nullptr;
  if (is_occupied(index)) return nothing(KXCAM_ERROR_IN_USE);

  SerialRecord serial{};
  int model_row = 0;
  int product_id = 0;
  const int device = get_camera_name(index, serial.data(), nullptr, &model_row, &product_id);
  if (device < 0) return nullptr;
  if (model_row == kUnknownModel) return nothing(KXCAM_ERROR_NO_DEVICE);

  const DeviceHandle handle = reopen(device, product_id);
  if (handle == nullptr) return nothing(KXCAM_ERROR_NO_DEVICE);
  if (is_attached(libusb_get_device(handle.get()))) return nothing(KXCAM_ERROR_IN_USE);

  const ContextRef context = attach_camera(handle, model_row, serial, flags);
  return bring_up(index, context) ? context : nullptr;
}

/// Gives the camera its device again, with acquisition ended and the ring empty; null when it is not there.
DeviceHandle change_device(CameraContext& context) {
  detach_device(context);
  if (context.stream.ring != nullptr) context.stream.ring->drop_ready_frames();
  // Held until the device is the camera's: of two cameras of one serial number each gets its own.
  const Enumeration bus;
  DeviceHandle handle = find_device_of(context, bus);
  if (handle == nullptr) {
    if (context.stream.ring != nullptr) context.stream.ring->set_gone(true);
    return nothing(KXCAM_ERROR_NO_DEVICE);
  }
  attach_device(context, handle);
  context.stream.counters.reconnects.add(1);
  return handle;
}

void resume_acquisition(CameraContext& context, libusb_device_handle* handle) {
  wake_sensor(context, handle);
  // Before queries may wait for frames again: single settings drop the frames of the old one, and would
  // have to wait for the end of every query. Whatever becomes of them, the camera is back.
  const auto before = context.stream.readout.load();
  set_parameter(context);
  // Settings that were loaded since the readout was selected ask for another one.
  if (*context.stream.readout.load() != *before) reselect_readout(context, *before);
  restore_remaining_settings(context);
  context.stream.running = true;
  try {
    start_reader(context);
  } catch (...) {
    detach_device(context);
    context.stream.ring->set_gone(true);
    throw;
  }
  start_video(context);
}

}  // namespace

bool init_camera_ex(int index, const char* /*name*/, unsigned int, int flags) {
  return open_slot(index, flags) != nullptr;
}

bool init_camera(int index) {
  return init_camera_ex(index, nullptr, 0, 0);
}

namespace {

/// What follows an open before programs get the camera: stored settings, the full sensor, the stream.
void start_up(int index, CameraContext& camera) {
  try {
    // The camera is open from here on, whatever it answers.
    load_parameter(camera, 0);
    restore_geometry(camera);
    load_deadpixel(camera, nullptr);
    // Programs rely on the full sensor after an open, whatever geometry the camera was left with.
    set_resolution(camera, 0, nullptr, nullptr, nullptr);
    start_video(camera);
  } catch (...) {
    free_camera(index);
    throw;
  }
}

struct FreeCamera {
  int extra_error = 0;
  ContextRef context;
};

/// The camera with that serial number that nobody holds, with its device its own; nothing is sent to others.
FreeCamera take_free_camera(std::string_view serial) {
  const Enumeration bus;
  bool held = false;
  for (const DeviceHandle& device : bus.devices()) {
    libusb_device_handle* handle = device.get();
    if (!is_camera(handle) || is_attached(libusb_get_device(handle))) continue;
    if (kxusb_claim_interface(handle, kImageInterface) == LIBUSB_ERROR_BUSY) {
      held = true;
      continue;
    }
    const std::optional<uint16_t> product = true_product(handle);
    const SerialRecord record = read_serial(handle);
    if (product && trimmed({record.data(), record.size()}) == serial) {
      const int row = find_model(*product);
      if (row == kUnknownModel) return {.context = nothing(KXCAM_ERROR_NO_DEVICE)};
      return {.context = attach_camera(device, row, record, 0)};
    }
    kxusb_release_interface(handle, kImageInterface);
  }
  if (held) return {.extra_error = KXCAM_ERROR_HELD, .context = nullptr};
  switch (bus.result()) {
    case 0:
      return {.context = nothing(KXCAM_ERROR_EMPTY_BUS)};
    case -1:
      return {.extra_error = KXCAM_ERROR_CONFIGURATION, .context = nullptr};
    case -5:
      return {.extra_error = KXCAM_ERROR_PERMISSION, .context = nullptr};
    default:
      if (bus.result() < 0) return {.extra_error = KXCAM_ERROR_SYSTEM, .context = nullptr};
      return {.context = nothing(KXCAM_ERROR_NO_DEVICE)};
  }
}

/// The lowest index at which nothing is open; -1 when there is none.
int lowest_free_index() {
  int index = 0;
  while (index < kMaxCameras && is_occupied(index)) ++index;
  return index < kMaxCameras ? index : -1;
}

}  // namespace

bool open_camera(int index) {
  const ContextRef camera = open_slot(index, 0);
  if (camera == nullptr) return false;
  start_up(index, *camera);
  return true;
}

OpenedBySerial open_by_serial(std::string_view wanted) {
  static std::mutex one_at_a_time;
  const std::lock_guard lock(one_at_a_time);
  const std::string_view serial = trimmed(wanted);
  const int index = lowest_free_index();
  if (index < 0 || is_serial_open(serial)) {
    set_last_error(KXCAM_ERROR_IN_USE);
    return {};
  }
  const FreeCamera camera = take_free_camera(serial);
  if (camera.context == nullptr) return {.extra_error = camera.extra_error};
  if (!bring_up(index, camera.context)) return {};
  start_up(index, *camera.context);
  return {.index = index};
}

bool reset_camera(const CameraContext& /*camera*/) {
  return true;
}

bool free_camera(int index) {
  if (!check_index(index)) return false;
  // The slot goes first: of two closes only one gets the context.
  const ContextRef context = vacate_slot(index);
  if (context == nullptr) return fail(KXCAM_ERROR_NOT_OPEN);
  const std::lock_guard attachment(context->stream.attachment_mutex);
  detach_device(*context);
  return true;
}

bool close_camera(int index) {
  const ContextRef camera = find_camera(index);
  if (camera != nullptr) abort_query(*camera);
  sysdelay(kWindDownMs);
  if (camera != nullptr) stop_video(*camera);
  return free_camera(index);
}

bool reconnect(CameraContext& camera) {
  if (camera.device.is_virtual) return fail(KXCAM_ERROR_NO_DEVICE);
  const std::lock_guard attachment(camera.stream.attachment_mutex);
  // Closed while waiting for the lock: whoever did that was promised that the device is let go.
  if (!is_open(camera)) return fail(KXCAM_ERROR_NOT_OPEN);
  const DeviceHandle handle = change_device(camera);
  if (handle == nullptr) return false;
  if (camera.stream.ring != nullptr) resume_acquisition(camera, handle.get());
  return true;
}

}  // namespace kxcam

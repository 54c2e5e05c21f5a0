// SPDX-License-Identifier: Apache-2.0
#include "scripted_usb.h"

#include <algorithm>
#include <map>

#include <libusb.h>
#include <sanitizer/asan_interface.h>

#include "require.h"
#include "virtual_time.h"

struct libusb_device {
  kxcam::ScriptedCamera* camera;
  uint8_t address;
  bool attached = true;
  int references = 0;  ///< of handles and lists
};

struct libusb_device_handle {
  libusb_device* device;
};

namespace kxcam {
namespace {

constexpr int kMostCameras = 20;  // more than the library opens
constexpr int64_t kFrameMs = 10;
constexpr uint8_t kVendorIn = 0xC0;
constexpr uint8_t kVendorOut = 0x40;

ScriptedBus* bus = nullptr;
std::map<libusb_device_handle*, std::unique_ptr<libusb_device_handle>> handles;
std::map<libusb_device**, std::vector<libusb_device*>> lists;

libusb_device& device_of(libusb_device_handle* handle) {
  require(handles.contains(handle), "a device is open while it is used");
  return *handle->device;
}

const libusb_device& used(const libusb_device* device) {
  require(device->references > 0, "a device is held while it is used");
  return *device;
}

std::span<uint8_t> checked(uint8_t* data, size_t length) {
  require(length == 0 || data != nullptr, "there is a buffer");
  require(__asan_region_is_poisoned(data, length) == nullptr, "a buffer has the room it is said to have");
  return {data, length};
}

/// What becomes of a call without data: 0 or a code.
int outcome(libusb_device& device) {
  if (!device.attached) return LIBUSB_ERROR_NO_DEVICE;
  switch (bus->script().next(Script::kOther)) {
    case Mishap::kError:
      return bus->script().error_code();
    case Mishap::kUnplugged:
      device.attached = false;
      return LIBUSB_ERROR_NO_DEVICE;
    default:
      return 0;
  }
}

int length_in(ScriptedCamera& camera, uint8_t request, uint16_t value, uint16_t index,
              std::span<uint8_t> data, Mishap mishap) {
  std::vector<uint8_t> reply(data.size());
  size_t length = camera.reply(request, value, index, reply);
  if (mishap == Mishap::kNothing) length = 0;
  if (mishap == Mishap::kShort) length = bus->script().length(length);
  if (mishap == Mishap::kTooMuch) {
    std::ranges::fill(reply, uint8_t{0xFF});
    length = reply.size();
  }
  if (mishap == Mishap::kForged) {
    const auto forgery = bus->script().forgery(reply.size());
    std::ranges::copy(forgery, reply.begin());
    length = forgery.size();
  }
  std::copy_n(reply.begin(), length, data.begin());
  return static_cast<int>(length);
}

int length_out(ScriptedCamera& camera, uint8_t request, uint16_t value, uint16_t index,
               std::span<const uint8_t> data, Mishap mishap) {
  if (mishap == Mishap::kNothing) return 0;
  if (mishap == Mishap::kShort) return static_cast<int>(bus->script().length(data.size()));
  camera.obey(request, value, index, data);
  return static_cast<int>(data.size());
}

int control(libusb_device& device, uint8_t type, uint8_t request, uint16_t value, uint16_t index,
            std::span<uint8_t> data, uint32_t timeout) {
  require(type == kVendorIn || type == kVendorOut, "requests are the vendor's");
  if (!device.attached) return LIBUSB_ERROR_NO_DEVICE;
  const bool flash = request == 0xC2 || request == 0xC3;
  const Mishap mishap = bus->script().next(flash ? uint8_t{Script::kFlash} : request);
  switch (mishap) {
    case Mishap::kError:
      return bus->script().error_code();
    case Mishap::kTimeout:
      pass_time(timeout);
      return LIBUSB_ERROR_TIMEOUT;
    case Mishap::kUnplugged:
      device.attached = false;
      return LIBUSB_ERROR_NO_DEVICE;
    default:
      return type == kVendorIn ? length_in(*device.camera, request, value, index, data, mishap)
                               : length_out(*device.camera, request, value, index, data, mishap);
  }
}

struct Transfer {
  int code;
  size_t length;
};

/// A transfer that goes as it should: a part of a frame, or none for as long as the library waits.
Transfer transfer_frame(ScriptedCamera& camera, std::span<uint8_t> data, uint32_t timeout) {
  const size_t length = camera.stream(data);
  pass_time(length > 0 ? kFrameMs : timeout);
  return {length > 0 ? LIBUSB_SUCCESS : LIBUSB_ERROR_TIMEOUT, length};
}

Transfer transfer(libusb_device& device, std::span<uint8_t> data, uint32_t timeout) {
  Script& script = bus->script();
  const Mishap mishap = device.attached ? script.next(Script::kStream) : Mishap::kUnplugged;
  if (mishap == Mishap::kNone) return transfer_frame(*device.camera, data, timeout);
  pass_time(mishap == Mishap::kTimeout ? timeout : 1);
  switch (mishap) {
    case Mishap::kError:
      return {script.error_code(), script.length(data.size())};
    case Mishap::kTimeout:
      return {LIBUSB_ERROR_TIMEOUT, script.length(data.size())};
    case Mishap::kUnplugged:
      device.attached = false;
      return {LIBUSB_ERROR_NO_DEVICE, 0};
    case Mishap::kNothing:
      return {LIBUSB_SUCCESS, 0};
    case Mishap::kTooMuch:
      return {LIBUSB_SUCCESS, data.size()};
    default:
      return {LIBUSB_SUCCESS, script.length(data.size())};
  }
}

}  // namespace

ScriptedBus::ScriptedBus(Input& input) {
  for (int count = 1 + input.byte() % kMostCameras; count > 0; --count) {
    cameras_.push_back(std::make_unique<ScriptedCamera>(input, cameras_.size()));
    toggle_cable(cameras_.size() - 1);
  }
  script_ = Script(input.take(static_cast<size_t>(input.word())));
  bus = this;
}

ScriptedBus::~ScriptedBus() {
  require(handles.empty(), "every device is closed");
  require(lists.empty(), "every list is freed");
  require(std::ranges::all_of(devices_, [](const auto& device) { return device->references == 0; }),
          "every device is let go");
  bus = nullptr;
}

void ScriptedBus::toggle_cable(size_t i) {
  ScriptedCamera* camera = cameras_[i % cameras_.size()].get();
  const auto plugged_in = std::ranges::find_if(
      devices_, [&](const auto& device) { return device->camera == camera && device->attached; });
  if (plugged_in != devices_.end()) {
    (*plugged_in)->attached = false;
    return;
  }
  devices_.push_back(std::make_unique<libusb_device>(
      libusb_device{.camera = camera, .address = static_cast<uint8_t>(devices_.size() + 1)}));
}

std::vector<libusb_device*> ScriptedBus::attached() const {
  std::vector<libusb_device*> attached;
  for (const auto& device : devices_) {
    if (device->attached) attached.push_back(device.get());
  }
  return attached;
}

}  // namespace kxcam

using namespace kxcam;

int libusb_init(libusb_context** /*context*/) {
  return 0;
}

int libusb_handle_events_timeout_completed(libusb_context* /*context*/, timeval* /*timeout*/,
                                           int* /*completed*/) {
  return 0;
}

ssize_t libusb_get_device_list(libusb_context* /*context*/, libusb_device*** list) {
  if (bus->script().next(Script::kOther) == Mishap::kError) return bus->script().error_code();
  std::vector<libusb_device*> devices = bus->attached();
  const auto count = static_cast<ssize_t>(devices.size());
  for (libusb_device* device : devices) ++device->references;
  devices.push_back(nullptr);
  *list = devices.data();
  lists.emplace(*list, std::move(devices));
  return count;
}

void libusb_free_device_list(libusb_device** list, int unref) {
  const auto freed = lists.extract(list);
  require(!freed.empty(), "a list is freed once");
  require(unref == 1, "devices are let go with their list");
  for (libusb_device* device : freed.mapped()) {
    if (device != nullptr) --device->references;
  }
}

int libusb_get_device_descriptor(libusb_device* device, libusb_device_descriptor* descriptor) {
  *descriptor = used(device).camera->descriptor();
  return 0;
}

uint8_t libusb_get_bus_number(libusb_device* device) {
  used(device);
  return 1;
}

uint8_t libusb_get_device_address(libusb_device* device) {
  return used(device).address;
}

int libusb_get_port_numbers(libusb_device* device, uint8_t* ports, int room) {
  if (room < 1) return LIBUSB_ERROR_OVERFLOW;
  ports[0] = used(device).address;
  return 1;
}

int libusb_get_device_speed(libusb_device* device) {
  return used(device).camera->speed();
}

int libusb_open(libusb_device* device, libusb_device_handle** handle) {
  used(device);
  if (const int code = outcome(*device); code != 0) return code;
  ++device->references;
  auto opened = std::make_unique<libusb_device_handle>(libusb_device_handle{device});
  *handle = opened.get();
  handles.emplace(*handle, std::move(opened));
  return 0;
}

void libusb_close(libusb_device_handle* handle) {
  --device_of(handle).references;
  handles.erase(handle);
}

libusb_device* libusb_get_device(libusb_device_handle* handle) {
  return &device_of(handle);
}

int libusb_claim_interface(libusb_device_handle* handle, int /*interface_number*/) {
  return outcome(device_of(handle));
}

int libusb_release_interface(libusb_device_handle* handle, int /*interface_number*/) {
  return outcome(device_of(handle));
}

int libusb_reset_device(libusb_device_handle* handle) {
  return outcome(device_of(handle));
}

int libusb_control_transfer(libusb_device_handle* handle, uint8_t type, uint8_t request, uint16_t value,
                            uint16_t index, unsigned char* data, uint16_t length, unsigned int timeout) {
  return control(device_of(handle), type, request, value, index, checked(data, length), timeout);
}

int libusb_bulk_transfer(libusb_device_handle* handle, unsigned char /*endpoint*/, unsigned char* data,
                         int length, int* transferred, unsigned int timeout) {
  require(length > 0, "a transfer has room");
  const Transfer done = transfer(device_of(handle), checked(data, static_cast<size_t>(length)), timeout);
  device_of(handle);  // other threads ran meanwhile
  *transferred = static_cast<int>(done.length);
  return done.code;
}

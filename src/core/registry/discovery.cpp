// SPDX-License-Identifier: Apache-2.0
#include "core/registry/discovery.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <optional>
#include <string_view>

#include "core/control/registers.h"
#include "core/registry/contexts.h"
#include "usb/bridge.h"
#include "usb/kxusb.h"
#include "usb/last_error.h"
#include "usb/requests.h"

namespace kxcam {

namespace {

std::mutex& transport_mutex() {
  static std::mutex mutex;
  return mutex;
}

constexpr int kLongestName = 30;

using UserName = std::array<char, 32>;

/// One EEPROM byte; nothing, with READ_REQUEST, when it cannot be read.
std::optional<uint8_t> read_byte(libusb_device_handle* handle, uint16_t address) {
  if (const auto reply = read_short(handle, bridge::kEepromRead, address, 0)) return (*reply)[0];
  set_last_error(KXCAM_ERROR_READ_REQUEST);
  return std::nullopt;
}

void read_text(libusb_device_handle* handle, uint16_t address, int length, char* text) {
  for (int i = 0; i < length; ++i) {
    text[i] = static_cast<char>(read_byte(handle, static_cast<uint16_t>(address + i)).value_or(0));
  }
}

/// The name that the camera's owner gave it, if any.
std::optional<UserName> read_user_name(libusb_device_handle* handle) {
  const std::optional<uint8_t> length = read_byte(handle, kNameLengthAddress);
  if (!length || *length < 1 || *length > kLongestName) return std::nullopt;
  UserName name{};
  read_text(handle, kNameAddress, *length, name.data());
  return name;
}

}  // namespace

bool is_camera(libusb_device_handle* handle) {
  return kxusb_getvendor(handle) == kCameraVendor;
}

SerialRecord read_serial(libusb_device_handle* handle) {
  SerialRecord serial{};
  read_text(handle, kSerialAddress, kSerialNumberLength, serial.data());
  return serial;
}

std::optional<uint16_t> true_product(libusb_device_handle* handle) {
  const uint16_t product = kxusb_getproduct(handle);
  if (product != kGenericProduct) return product;
  const auto reply = read_short(handle, bridge::kTrueProductId, 0, 0);
  if (!reply) return std::nullopt;
  return static_cast<uint16_t>((*reply)[0] | (*reply)[1] << 8);
}

std::string_view trimmed(std::string_view serial) {
  serial = serial.substr(0, serial.find('\0'));
  return serial.substr(0, serial.find_last_not_of(' ') + 1);
}

namespace {

struct FoundCamera {
  int device;
  libusb_device_handle* handle;
  uint16_t product;
};

std::optional<FoundCamera> find_on_bus(const Enumeration& bus, int position) {
  int seen = 0;
  for (size_t i = 0; i < bus.devices().size(); ++i) {
    libusb_device_handle* handle = bus.devices()[i].get();
    const std::optional<uint16_t> product = true_product(handle);
    if (!product || !is_camera(handle)) continue;
    if (seen == position) return FoundCamera{static_cast<int>(i), handle, *product};
    ++seen;
  }
  return std::nullopt;
}

void store(int* output, int value) {
  if (output != nullptr) *output = value;
}

}  // namespace

Enumeration::Enumeration() : exclusive_(transport_mutex()), result_(kxusb_open()) {
  struct Close {
    void operator()(libusb_device_handle* handle) const { kxusb_close(handle); }
  };
  // Every handle has an owner before the first allocation, which may fail.
  std::array<std::unique_ptr<libusb_device_handle, Close>, kMaxUsbDevices> opened;
  const int count = kxusb_opened_count();
  for (int i = 0; i < count; ++i) opened[static_cast<size_t>(i)].reset(kxusb_gethandle(i));
  devices_.reserve(static_cast<size_t>(count));
  std::move(opened.begin(), opened.begin() + count, std::back_inserter(devices_));
}

void get_api_version(int* major, int* minor) {
  store(major, kApiMajor);
  store(minor, kApiMinor);
}

bool get_firm_version(const CameraContext& camera, int* version) {
  store(version, camera.device.firmware_version);
  return true;
}

int get_camera_count() {
  const Enumeration bus;
  if (bus.result() < 1) return 0;
  return static_cast<int>(std::ranges::count_if(
      bus.devices(), [](const DeviceHandle& device) { return is_camera(device.get()); }));
}

int get_camera_idx(const char* serial) {
  const Enumeration bus;
  if (bus.result() == 0) set_last_error(KXCAM_ERROR_EMPTY_BUS);
  if (bus.result() < 1) return -1;
  for (size_t i = 0; i < bus.devices().size(); ++i) {
    libusb_device_handle* handle = bus.devices()[i].get();
    if (is_camera(handle) && std::string_view(serial) == read_serial(handle).data())
      return static_cast<int>(i);
  }
  return -1;
}

UsbPort port_of(libusb_device* device) {
  UsbPort port{.bus = libusb_get_bus_number(device)};
  libusb_get_port_numbers(device, port.path.data(), static_cast<int>(port.path.size()));
  return port;
}

std::string port_name(const UsbPort& port) {
  std::string name = std::to_string(port.bus);
  char separator = '-';
  for (const uint8_t number : port.path) {
    if (number == 0) break;
    name += separator + std::to_string(number);
    separator = '.';
  }
  return name;
}

DeviceHandle find_device_of(const CameraContext& camera, const Enumeration& bus) {
  const SerialRecord& serial = camera.parameter.serial_number;
  const UsbPort own = camera.device.port;
  DeviceHandle first;
  for (const DeviceHandle& device : bus.devices()) {
    libusb_device_handle* handle = device.get();
    const UsbPort port = port_of(libusb_get_device(handle));
    if (!is_camera(handle) || (first != nullptr && port != own) || is_attached(libusb_get_device(handle)))
      continue;
    if (port != own && was_opened_at(port, serial)) continue;
    if (true_product(handle) != camera.model().PID || read_serial(handle) != serial) continue;
    if (port == own) return device;
    first = device;
  }
  return first;
}

int get_camera_name(int position, char* serial, char* name, int* model_row, int* product_id) {
  if (!check_index(position)) return -1;
  const Enumeration bus;
  if (bus.result() == 0) set_last_error(KXCAM_ERROR_EMPTY_BUS);
  if (bus.result() < 1) return -1;
  const std::optional<FoundCamera> found = find_on_bus(bus, position);
  if (!found) return -1;

  std::optional<UserName> user_name;
  if (name != nullptr) {
    user_name = read_user_name(found->handle);
    *name = '\0';
  }
  if (serial != nullptr) std::memcpy(serial, read_serial(found->handle).data(), sizeof(SerialRecord));

  const int row = find_model(found->product);
  if (name != nullptr && row != kUnknownModel) {
    const char* shown = user_name ? user_name->data() : model_table[static_cast<size_t>(row)].MODEL;
    std::sprintf(name, "%s(%d)", shown, position);  // at most 30 + 5 characters and the terminator
  }
  store(model_row, row);
  store(product_id, found->product);
  return found->device;
}

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#include "usb/kxusb.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <span>

#include "usb/config_file.h"

namespace kxcam {

namespace {

constexpr uint32_t kDescriptorTimeoutMs = 1000;

struct kxusb_device {
  libusb_device* device;
  libusb_device_handle* handle;  ///< keeps `device` alive
  uint16_t vendor;
  uint16_t product;
  uint8_t opened;
  uint8_t bus_number;
  uint8_t device_address;
};

std::array<kxusb_device, kMaxUsbDevices> kxdev;
int nid = 0;

// libusb counts its initialisations; one lasts for the life of the process, because handles and the
// event thread may be in use whenever a later call would like to end it.
int initialise_libusb() {
  static const int result = libusb_init(nullptr);
  return result;
}

struct FreeDeviceList {
  void operator()(libusb_device** list) const { libusb_free_device_list(list, 1); }
};
using DeviceList = std::unique_ptr<libusb_device*, FreeDeviceList>;

bool is_listed(const libusb_device_descriptor& descriptor) {
  return std::ranges::any_of(listed_devices(), [&](const VpdRow& row) {
    return row.vendor == descriptor.idVendor && row.product == descriptor.idProduct;
  });
}

bool open_device(libusb_device* device) {
  libusb_device_handle* handle = nullptr;
  if (libusb_open(device, &handle) != 0) return false;
  kxdev[nid] = {.device = device,
                .handle = handle,
                .vendor = kxusb_getvendor(handle),
                .product = kxusb_getproduct(handle),
                .opened = 1,
                .bus_number = static_cast<uint8_t>(kxusb_get_busnumber(handle)),
                .device_address = static_cast<uint8_t>(kxusb_get_devaddr(handle))};
  ++nid;
  return true;
}

int open_listed_devices(std::span<libusb_device*> devices) {
  for (libusb_device* device : devices) {
    libusb_device_descriptor descriptor;
    if (libusb_get_device_descriptor(device, &descriptor) != 0 || !is_listed(descriptor)) continue;
    if (nid == kMaxUsbDevices) break;
    if (!open_device(device)) {
      std::printf("Error in opening device");
      return -5;
    }
  }
  return nid;
}

}  // namespace

int kxusb_open() {
  nid = 0;
  if (!read_config_file()) return -1;
  if (initialise_libusb() != 0) {
    std::printf("Error in initializing libusb library...");
    return -2;
  }
  libusb_device** list = nullptr;
  const ssize_t numdev = libusb_get_device_list(nullptr, &list);
  if (numdev < 0) {
    std::printf("Library: Error in enumerating devices...");
    return -4;
  }
  const DeviceList owner(list);
  return open_listed_devices({list, static_cast<size_t>(numdev)});
}

int kxusb_opened_count() {
  return nid;
}

libusb_device_handle* kxusb_gethandle(int i) {
  return kxdev[i].handle;
}

libusb_device* kxusb_getdevice(int i) {
  return kxdev[i].device;
}

uint16_t kxusb_getvendor(libusb_device_handle* handle) {
  libusb_device_descriptor descriptor{};
  libusb_get_device_descriptor(libusb_get_device(handle), &descriptor);
  return descriptor.idVendor;
}

uint16_t kxusb_getproduct(libusb_device_handle* handle) {
  libusb_device_descriptor descriptor{};
  libusb_get_device_descriptor(libusb_get_device(handle), &descriptor);
  return descriptor.idProduct;
}

int kxusb_get_busnumber(libusb_device_handle* handle) {
  return libusb_get_bus_number(libusb_get_device(handle));
}

int kxusb_get_devaddr(libusb_device_handle* handle) {
  return libusb_get_device_address(libusb_get_device(handle));
}

int kxusb_get_max_packet_size(libusb_device_handle* handle, uint8_t endpoint) {
  return libusb_get_max_packet_size(libusb_get_device(handle), endpoint);
}

void kxusb_close(libusb_device_handle* handle) {
  libusb_close(handle);
}

int kxusb_get_configuration(libusb_device_handle* handle, int* configuration) {
  return libusb_get_configuration(handle, configuration);
}

int kxusb_set_configuration(libusb_device_handle* handle, int configuration) {
  return libusb_set_configuration(handle, configuration);
}

int kxusb_claim_interface(libusb_device_handle* handle, int interface_number) {
  return libusb_claim_interface(handle, interface_number);
}

int kxusb_release_interface(libusb_device_handle* handle, int interface_number) {
  return libusb_release_interface(handle, interface_number);
}

int kxusb_set_interface_alt_setting(libusb_device_handle* handle, int interface_number, int alt_setting) {
  return libusb_set_interface_alt_setting(handle, interface_number, alt_setting);
}

int kxusb_clear_halt(libusb_device_handle* handle, uint8_t endpoint) {
  return libusb_clear_halt(handle, endpoint);
}

int kxusb_reset_device(libusb_device_handle* handle) {
  return libusb_reset_device(handle);
}

int kxusb_kernel_driver_active(libusb_device_handle* handle, int interface_number) {
  return libusb_kernel_driver_active(handle, interface_number);
}

int kxusb_detach_kernel_driver(libusb_device_handle* handle, int interface_number) {
  return libusb_detach_kernel_driver(handle, interface_number);
}

int kxusb_attach_kernel_driver(libusb_device_handle* handle, int interface_number) {
  return libusb_attach_kernel_driver(handle, interface_number);
}

int kxusb_get_device_descriptor(libusb_device_handle* handle, libusb_device_descriptor* descriptor) {
  return libusb_get_device_descriptor(libusb_get_device(handle), descriptor);
}

int kxusb_get_active_config_descriptor(libusb_device_handle* handle, libusb_config_descriptor** config) {
  return libusb_get_active_config_descriptor(libusb_get_device(handle), config);
}

int kxusb_get_config_descriptor(libusb_device_handle* handle, uint8_t index,
                                libusb_config_descriptor** config) {
  return libusb_get_config_descriptor(libusb_get_device(handle), index, config);
}

int kxusb_get_config_descriptor_by_value(libusb_device_handle* handle, uint8_t value,
                                         libusb_config_descriptor** config) {
  return libusb_get_config_descriptor_by_value(libusb_get_device(handle), value, config);
}

int kxusb_get_string_descriptor_ascii(libusb_device_handle* handle, uint8_t index, unsigned char* text,
                                      int length) {
  return libusb_get_string_descriptor_ascii(handle, index, text, length);
}

int kxusb_get_device_speed(libusb_device* device) {
  return libusb_get_device_speed(device);
}

int kxusb_get_descriptor(libusb_device_handle* handle, uint8_t type, uint8_t index, void* buffer,
                         int length) {
  return kxusb_control_transfer(
      handle, LIBUSB_ENDPOINT_IN, LIBUSB_REQUEST_GET_DESCRIPTOR, static_cast<uint16_t>(type << 8 | index), 0,
      static_cast<unsigned char*>(buffer), static_cast<uint16_t>(length), kDescriptorTimeoutMs);
}

int kxusb_get_string_descriptor(libusb_device_handle* handle, uint8_t index, uint16_t language, void* buffer,
                                int length) {
  return kxusb_control_transfer(handle, LIBUSB_ENDPOINT_IN, LIBUSB_REQUEST_GET_DESCRIPTOR,
                                static_cast<uint16_t>(LIBUSB_DT_STRING << 8 | index), language,
                                static_cast<unsigned char*>(buffer), static_cast<uint16_t>(length),
                                kDescriptorTimeoutMs);
}

int kxusb_control_transfer(libusb_device_handle* handle, uint8_t request_type, uint8_t request,
                           uint16_t value, uint16_t index, unsigned char* data, uint16_t length,
                           uint32_t timeout_ms) {
  return libusb_control_transfer(handle, request_type, request, value, index, data, length, timeout_ms);
}

int kxusb_bulk_transfer(libusb_device_handle* handle, uint8_t endpoint, unsigned char* data, int length,
                        int* transferred, uint32_t timeout_ms) {
  return libusb_bulk_transfer(handle, endpoint, data, length, transferred, timeout_ms);
}

int kxusb_interrupt_transfer(libusb_device_handle* handle, uint8_t endpoint, unsigned char* data, int length,
                             int* transferred, uint32_t timeout_ms) {
  return libusb_interrupt_transfer(handle, endpoint, data, length, transferred, timeout_ms);
}

void kxusb_error(int code) {
  constexpr std::array texts = {
      "Input/output error\n",
      "Invalid parameter\n",
      "Access denied (insufficient permissions)\n",
      "No such device. Disconnected...?\n",
      "Entity not found\n",
      "Resource busy\n",
      "Operation timed out\n",
      "Overflow\n",
      "Pipe error\n",
      "System call interrupted, ( due to signal ? )\n",
      "Insufficient memory\n",
  };
  const char* text = "Unknown internal error\n";
  if (code < 0 && code >= -static_cast<int>(texts.size())) {
    text = texts[static_cast<size_t>(-code - 1)];
  } else if (code == 12) {  // positive, unlike libusb's own code: callers pass -result for this one
    text = "Operation not supported/implemented\n";
  }
  std::fputs(text, stderr);
}

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#include "usb/kxusb.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "kxcam/kxcam.h"
#include "usb/message.h"

int last_error = KXCAM_ERROR_NONE_YET;
char logfile[256] = "";
char pidfile[256] = "";

namespace kxcam {

namespace {

constexpr uint32_t kDescriptorTimeoutMs = 1000;

/// Rows of the configuration file begin at this one; those before it stay empty.
constexpr size_t kFirstFileRow = 16;

static_assert(sizeof(VpdRow) == 34);

std::array<VpdRow, kFirstFileRow + kConfigFileRows + 1> vpd;
size_t maxdevices = kFirstFileRow;

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

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::optional<std::string> file_text(const char* path) {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path, "re"));
  if (file == nullptr) return std::nullopt;
  std::string text;
  std::array<char, 4096> block;
  while (const size_t length = std::fread(block.data(), 1, block.size(), file.get())) {
    text.append(block.data(), length);
  }
  return text;
}

template <size_t N>
void copy_text(char (&to)[N], const std::string& from) {
  if (!from.empty()) std::snprintf(to, N, "%s", from.c_str());
}

// libusb counts its initialisations; one lasts for the life of the process, because handles and the
// event thread may be in use whenever a later call would like to end it. One that failed, for want of
// descriptors say, is tried again.
bool initialise_libusb() {
  static bool initialised = false;
  if (!initialised) initialised = libusb_init(nullptr) == 0;
  return initialised;
}

/// libusb forgets a closed device when it next handles events, which nobody else does while no camera
/// streams.
void forget_closed_devices() {
  timeval at_once{};
  libusb_handle_events_timeout_completed(nullptr, &at_once, nullptr);
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
      say(stdout, "Error in opening device");
      return -5;
    }
  }
  return nid;
}

}  // namespace

bool read_config_file() {
  const std::optional<std::string> text = file_text(config_file_path());
  if (!text) {
    say(stdout, std::string(config_file_path()) + " file not found. Exiting\n");
    return false;
  }
  const ConfigFile file = parse_config_file(*text, kFirstFileRow + kConfigFileRows - maxdevices);
  copy_text(logfile, file.logfile);
  copy_text(pidfile, file.pidfile);
  std::ranges::copy(file.devices, vpd.begin() + static_cast<std::ptrdiff_t>(maxdevices));
  maxdevices += file.devices.size();
  if (file.bad_line != 0) {
    say(stdout, std::string("Error in config file ") + config_file_path() + ": " + file.bad_word + " \n");
    if (!has_message_handler()) std::exit(1);
    return false;
  }
  return true;
}

std::span<const VpdRow> listed_devices() {
  return {vpd.data(), maxdevices};
}

int kxusb_open() {
  nid = 0;
  if (!read_config_file()) return -1;
  if (!initialise_libusb()) {
    say(stdout, "Error in initializing libusb library...");
    return -2;
  }
  forget_closed_devices();
  libusb_device** list = nullptr;
  const ssize_t numdev = libusb_get_device_list(nullptr, &list);
  if (numdev < 0) {
    say(stdout, "Library: Error in enumerating devices...");
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
  say(stderr, text);
}

}  // namespace kxcam

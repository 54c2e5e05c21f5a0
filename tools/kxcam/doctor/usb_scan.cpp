// SPDX-License-Identifier: Apache-2.0
#include "doctor/usb_scan.h"

#include <array>
#include <memory>
#include <span>

#include <fmt/format.h>
#include <libusb.h>

#include "configuration.h"

namespace kxcam::doctor {
namespace {

constexpr uint8_t kReadFromDevice = 0xC0;
constexpr uint8_t kTrueProductRequest = 0xA9;
constexpr unsigned kRequestTimeoutMs = 100;
constexpr int kMostHubs = 7;  // by the USB standard

using Context = std::unique_ptr<libusb_context, decltype(&libusb_exit)>;
using Handle = std::unique_ptr<libusb_device_handle, decltype(&libusb_close)>;
using Descriptor = std::unique_ptr<libusb_bos_descriptor, decltype(&libusb_free_bos_descriptor)>;
using Capability = std::unique_ptr<libusb_ss_usb_device_capability_descriptor,
                                   decltype(&libusb_free_ss_usb_device_capability_descriptor)>;

std::string port_of(libusb_device* device) {
  std::array<uint8_t, kMostHubs> ports{};
  const int count = libusb_get_port_numbers(device, ports.data(), static_cast<int>(ports.size()));
  const auto used = std::span(ports).first(count > 0 ? static_cast<std::size_t>(count) : 0);
  return fmt::format("{}-{}", libusb_get_bus_number(device), fmt::join(used, "."));
}

int megabits_of(libusb_device* device) {
  switch (libusb_get_device_speed(device)) {
    case LIBUSB_SPEED_LOW:
      return 1;  // 1.5
    case LIBUSB_SPEED_FULL:
      return 12;
    case LIBUSB_SPEED_HIGH:
      return 480;
    case LIBUSB_SPEED_SUPER:
      return 5000;
    case LIBUSB_SPEED_SUPER_PLUS:
      return 10000;
    default:
      return 0;
  }
}

bool says_super_speed(const libusb_bos_descriptor& bos) {
  // A flexible array member: as long as the count says, which libusb has checked.
  const std::span capabilities(bos.dev_capability, bos.bNumDeviceCaps);
  for (libusb_bos_dev_capability_descriptor* capability : capabilities) {
    if (capability->bDevCapabilityType != LIBUSB_BT_SS_USB_DEVICE_CAPABILITY) continue;
    libusb_ss_usb_device_capability_descriptor* found = nullptr;
    if (libusb_get_ss_usb_device_capability_descriptor(nullptr, capability, &found) != 0) continue;
    const Capability owner(found, libusb_free_ss_usb_device_capability_descriptor);
    if ((found->wSpeedSupported & LIBUSB_SUPER_SPEED_OPERATION) != 0) return true;
  }
  return false;
}

std::optional<bool> can_super_speed(libusb_device_handle* handle) {
  libusb_bos_descriptor* bos = nullptr;
  if (libusb_get_bos_descriptor(handle, &bos) != 0) return std::nullopt;
  const Descriptor owner(bos, libusb_free_bos_descriptor);
  return says_super_speed(*bos);
}

std::optional<uint16_t> ask_true_product(libusb_device_handle* handle) {
  std::array<uint8_t, 10> reply{};
  const int got = libusb_control_transfer(handle, kReadFromDevice, kTrueProductRequest, 0, 0, reply.data(),
                                          reply.size(), kRequestTimeoutMs);
  if (got < 2) return std::nullopt;
  return static_cast<uint16_t>(reply[0] | reply[1] << 8);
}

void try_to_use(libusb_device* device, uint16_t usb_version, const ClaimIt& claim_it, UsbCamera& camera) {
  UsbAccess& access = camera.access;
  libusb_device_handle* opened = nullptr;
  access.open = libusb_open(device, &opened);
  if (access.open != 0) return;
  const Handle handle(opened, libusb_close);
  if (camera.product_id == kGenericProduct) access.true_product = ask_true_product(opened);
  if (!claim_it(camera)) return;
  access.claim = libusb_claim_interface(opened, 0);
  if (access.claim == 0) libusb_release_interface(opened, 0);
  if (usb_version > 0x0200) access.super_speed = can_super_speed(opened);
}

std::vector<UsbCamera> scan(std::span<libusb_device*> devices, const ClaimIt& claim_it) {
  std::vector<UsbCamera> cameras;
  for (libusb_device* device : devices) {
    libusb_device_descriptor descriptor{};
    if (libusb_get_device_descriptor(device, &descriptor) != 0) continue;
    if (descriptor.idVendor != kCameraVendor) continue;
    UsbCamera& camera = cameras.emplace_back();
    camera.port = port_of(device);
    camera.bus = libusb_get_bus_number(device);
    camera.address = libusb_get_device_address(device);
    camera.product_id = descriptor.idProduct;
    camera.megabits = megabits_of(device);
    try_to_use(device, descriptor.bcdUSB, claim_it, camera);
  }
  return cameras;
}

}  // namespace

UsbScan scan_usb(const ClaimIt& claim_it) {
  UsbScan result;
  libusb_context* started = nullptr;
  result.start = libusb_init(&started);
  if (result.start != 0) return result;
  const Context context(started, libusb_exit);
  libusb_device** list = nullptr;
  const ssize_t count = libusb_get_device_list(started, &list);
  if (count < 0) return {static_cast<int>(count), {}};
  result.cameras = scan({list, static_cast<std::size_t>(count)}, claim_it);
  libusb_free_device_list(list, 1);
  return result;
}

}  // namespace kxcam::doctor

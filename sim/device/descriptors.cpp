// SPDX-License-Identifier: Apache-2.0
#include "device/descriptors.h"

#include <string_view>

namespace kxsim {
namespace {

enum DescriptorType : uint8_t { kDevice = 1, kConfiguration = 2, kString = 3, kInterface = 4, kEndpoint = 5 };
constexpr uint8_t kSuperSpeedCompanion = 0x30;
constexpr uint8_t kObjectStore = 0x0F;
constexpr uint8_t kCapability = 0x10;
constexpr uint8_t kVendorSpecific = 0xFF;
constexpr uint8_t kBulk = 2;

constexpr uint8_t low(uint16_t word) {
  return static_cast<uint8_t>(word);
}
constexpr uint8_t high(uint16_t word) {
  return static_cast<uint8_t>(word >> 8);
}

constexpr uint16_t kUsb2 = 0x0200;

/// A device of super speed that is connected at high speed says by 2.1 that it could do more.
uint16_t usb_release(const CameraOptions& options) {
  if (options.speed == UsbSpeed::kSuper) return 0x0300;
  return options.model->newer_bridge() ? 0x0210 : kUsb2;
}

std::vector<uint8_t> encode_string(std::string_view text) {
  std::vector<uint8_t> bytes = {static_cast<uint8_t>(2 + 2 * text.size()), kString};
  for (const char c : text) bytes.insert(bytes.end(), {static_cast<uint8_t>(c), 0});
  return bytes;
}

}  // namespace

std::vector<uint8_t> device_descriptor(const CameraOptions& options) {
  const bool super = options.speed == UsbSpeed::kSuper;
  const auto product =
      options.generic_id ? kGenericProductId : static_cast<uint16_t>(options.model->product_id);
  const uint16_t usb_version = usb_release(options);
  const uint8_t control_packet = super ? 9 : 64;  // super speed gives it as a power of two
  return {18,
          kDevice,
          low(usb_version),
          high(usb_version),
          kVendorSpecific,
          kVendorSpecific,
          kVendorSpecific,
          control_packet,
          low(kVendorId),
          high(kVendorId),
          low(product),
          high(product),
          0x00,  // device release 1.00
          0x01,
          1,  // manufacturer string
          2,  // product string
          0,  // no serial number string: it is in the EEPROM only
          1};
}

std::vector<uint8_t> configuration_descriptor(const CameraOptions& options) {
  const auto packet = bulk_packet_size(options.speed);
  // 500 mA, the most that a port of high speed has: in steps of 2 mA there, of 8 mA at super speed.
  const uint8_t power = options.speed == UsbSpeed::kSuper ? 500 / 8 : 500 / 2;
  std::vector<uint8_t> bytes = {9,
                                kConfiguration,
                                0,
                                0,
                                1,
                                1,
                                0,
                                0x80,
                                power,
                                9,
                                kInterface,
                                0,
                                0,
                                1,
                                kVendorSpecific,
                                0,
                                0,
                                0,  //
                                7,
                                kEndpoint,
                                bulk_endpoint(*options.model),
                                kBulk,
                                low(packet),
                                high(packet),
                                0};
  if (options.speed == UsbSpeed::kSuper) bytes.insert(bytes.end(), {6, kSuperSpeedCompanion, 15, 0, 0, 0});
  bytes[2] = static_cast<uint8_t>(bytes.size());
  return bytes;
}

std::vector<uint8_t> object_store_descriptor(const CameraOptions& options) {
  if (usb_release(options) == kUsb2) return {};
  return {5, kObjectStore, 22, 0, 2,
          // The same device on an older bus, where it knows link power management as it has to.
          7, kCapability, 2, 0x02, 0, 0, 0,
          // Works at high and super speed, in full from high speed on; awake in 10 and 255 microseconds.
          10, kCapability, 3, 0, 0x0C, 0, 2, 10, 255, 0};
}

std::vector<uint8_t> string_descriptor(const CameraOptions& options, uint8_t index) {
  switch (index) {
    case 0:
      return {4, kString, 0x09, 0x04};
    case 1:
      return encode_string(kManufacturer);
    case 2:
      return encode_string(options.model->name);
    default:
      return {};
  }
}

}  // namespace kxsim

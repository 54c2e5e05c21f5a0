// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "device/camera_options.h"

namespace kxsim {

inline constexpr uint16_t kVendorId = 0xA7B7;
inline constexpr const char* kManufacturer = "kxsim";
/// What a device enumerates as when its true product id must be asked for.
inline constexpr uint16_t kGenericProductId = 0x3FF0;

/// Address of the bulk IN endpoint.
constexpr uint8_t bulk_endpoint(const Model& model) {
  return model.newer_bridge() ? 0x81 : 0x82;
}
/// Bytes in a full bulk packet.
constexpr uint16_t bulk_packet_size(UsbSpeed speed) {
  return speed == UsbSpeed::kSuper ? 1024 : 512;
}

std::vector<uint8_t> device_descriptor(const CameraOptions& options);
/// The one configuration with its interface and endpoint.
std::vector<uint8_t> configuration_descriptor(const CameraOptions& options);
/// What a device of super speed says of its abilities, at high speed too; empty for others.
std::vector<uint8_t> object_store_descriptor(const CameraOptions& options);
/// Index 0 lists the languages; empty when there is no such string.
std::vector<uint8_t> string_descriptor(const CameraOptions& options, uint8_t index);

}  // namespace kxsim

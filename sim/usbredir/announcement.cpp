// SPDX-License-Identifier: Apache-2.0
#include "usbredir/announcement.h"

#include <algorithm>
#include <cstddef>

#include "device/descriptors.h"

namespace kxsim {
namespace {

constexpr uint8_t kVendorSpecific = 0xFF;
constexpr uint16_t kControlPacket = 64;
constexpr uint16_t kSuperSpeedControlPacket = 512;

/// The protocol counts endpoint addresses 0x00..0x0F, then 0x80..0x8F.
constexpr size_t place(uint8_t endpoint) {
  return (endpoint & 0x0F) | (endpoint & 0x80) >> 3;
}

usb_redir_ep_info_header endpoints_of(const CameraOptions& options) {
  const bool super = options.speed == UsbSpeed::kSuper;
  usb_redir_ep_info_header info{};
  std::ranges::fill(info.type, static_cast<uint8_t>(usb_redir_type_invalid));
  for (const auto control : {place(0x00), place(0x80)}) {
    info.type[control] = usb_redir_type_control;
    info.max_packet_size[control] = super ? kSuperSpeedControlPacket : kControlPacket;
  }
  const auto bulk = place(bulk_endpoint(*options.model));
  info.type[bulk] = usb_redir_type_bulk;
  info.max_packet_size[bulk] = bulk_packet_size(options.speed);
  return info;
}

usb_redir_device_connect_header device_of(const CameraOptions& options) {
  const auto product =
      options.generic_id ? kGenericProductId : static_cast<uint16_t>(options.model->product_id);
  return {.speed = static_cast<uint8_t>(options.speed == UsbSpeed::kSuper ? usb_redir_speed_super
                                                                          : usb_redir_speed_high),
          .device_class = kVendorSpecific,
          .device_subclass = kVendorSpecific,
          .device_protocol = kVendorSpecific,
          .vendor_id = kVendorId,
          .product_id = product,
          .device_version_bcd = 0x0100};
}

}  // namespace

Announcement announcement_of(const CameraOptions& options) {
  Announcement announcement{};
  announcement.interfaces.interface_count = 1;
  announcement.interfaces.interface_class[0] = kVendorSpecific;
  announcement.endpoints = endpoints_of(options);
  announcement.device = device_of(options);
  return announcement;
}

}  // namespace kxsim

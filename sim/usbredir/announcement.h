// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <usbredirproto.h>

#include "device/camera_options.h"

namespace kxsim {

/// What a peer is told of a camera before it asks for the first descriptor; agrees with the descriptors.
struct Announcement {
  usb_redir_interface_info_header interfaces;
  usb_redir_ep_info_header endpoints;
  usb_redir_device_connect_header device;
};

Announcement announcement_of(const CameraOptions& options);

}  // namespace kxsim

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include <gst/gst.h>

#include <kxcam/extra.h>

/// A camera on the bus, for which the element kxcamsrc can be made.
GType gst_kxcam_device_get_type();

namespace kxcam {

/// Floating, as GStreamer wants it.
GstDevice* new_device(const kxcam_bus_event& arrival);

/// Whether it is the camera that came, or left, there.
bool is_at(GstDevice* device, std::string_view port);

}  // namespace kxcam

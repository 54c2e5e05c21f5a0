// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gst/gst.h>

/// Lists the cameras on the bus, and tells of those that come and go.
GType gst_kxcam_device_provider_get_type();

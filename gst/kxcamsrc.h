// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gst/gst.h>

/// The element kxcamsrc.
GType gst_kxcam_src_get_type();

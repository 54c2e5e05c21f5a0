// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0A30, 0x0A3B, 0x0B10, 0x0B1B};
}

extern const SensorFamily sensor_0A30{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 16},
    .line_scan = true,
};

}  // namespace kxcam

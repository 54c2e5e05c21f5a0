// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0B20, 0x0B2B, 0x0B50, 0x0B5B};
}

extern const SensorFamily sensor_0B20{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 32},
    .line_scan = true,
};

}  // namespace kxcam

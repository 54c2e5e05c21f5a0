// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0C30, 0x0C3B, 0x0C50, 0x0C5B, 0x0C80, 0x0C8B};
}

extern const SensorFamily sensor_0C30{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8, .y_and_height = 8},
};

}  // namespace kxcam

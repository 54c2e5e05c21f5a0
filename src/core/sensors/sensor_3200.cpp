// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x3200, 0x320B};
}

extern const SensorFamily sensor_3200{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
};

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0680, 0x068B};
}

extern const SensorFamily sensor_0680{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
};

}  // namespace kxcam

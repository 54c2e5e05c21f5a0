// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0130, 0x013B};
}

extern const SensorFamily sensor_0130{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 16},
};

}  // namespace kxcam

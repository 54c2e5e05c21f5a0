// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0920, 0x092B};
}

extern const SensorFamily sensor_0920{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
};

}  // namespace kxcam

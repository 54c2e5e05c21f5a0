// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x3130, 0x313B};
}

extern const SensorFamily sensor_3130{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 16},
};

}  // namespace kxcam

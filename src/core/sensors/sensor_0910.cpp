// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0910, 0x091B};
}

extern const SensorFamily sensor_0910{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 8},
};

}  // namespace kxcam

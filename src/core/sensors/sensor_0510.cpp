// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0510, 0x051B};
}

extern const SensorFamily sensor_0510{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 32},
    .isp_registers = false,
};

}  // namespace kxcam

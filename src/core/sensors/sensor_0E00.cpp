// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0E00};
}

extern const SensorFamily sensor_0E00{
    .mids = kMids,
    .isp_registers = false,
    .settling_time_ms = 300,
};

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0500, 0x050B};
}

extern const SensorFamily sensor_0500{
    .mids = kMids,
    .isp_registers = false,
};

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0030, 0x003B};
}

extern const SensorFamily sensor_0030{
    .mids = kMids,
    .isp_registers = false,
};

}  // namespace kxcam

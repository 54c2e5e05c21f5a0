// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0120, 0x012B};
}

extern const SensorFamily sensor_0120{
    .mids = kMids,
    .isp_registers = false,
};

}  // namespace kxcam

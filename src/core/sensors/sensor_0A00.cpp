// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0A00, 0x0A0B};
}

extern const SensorFamily sensor_0A00{
    .mids = kMids,
    .isp_registers = false,
};

}  // namespace kxcam

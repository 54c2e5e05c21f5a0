// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0E60, 0x0E6B, 0x0E70, 0x0E7B};
}

extern const SensorFamily sensor_0E60{
    .mids = kMids,
};

}  // namespace kxcam

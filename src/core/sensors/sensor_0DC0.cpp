// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0DC0, 0x0DCB};
}

extern const SensorFamily sensor_0DC0{
    .mids = kMids,
};

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0200, 0x020B};
}

extern const SensorFamily sensor_0200{
    .mids = kMids,
};

}  // namespace kxcam

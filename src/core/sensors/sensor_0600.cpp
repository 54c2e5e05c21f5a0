// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0600, 0x060B, 0x0620, 0x062B, 0x0630, 0x063B, 0x0650, 0x065B, 0x0710, 0x071B};
}

extern const SensorFamily sensor_0600{
    .mids = kMids,
};

}  // namespace kxcam

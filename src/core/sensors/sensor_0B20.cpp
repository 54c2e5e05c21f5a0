// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/microsecond_shutter.h"
#include "core/sensors/register_sequence.h"
#include "core/sensors/sensor_family.h"

namespace kxcam {

namespace {
constexpr uint32_t kMids[] = {0x0B20, 0x0B2B, 0x0B50, 0x0B5B};
}

extern const SensorFamily sensor_0B20{
    .mids = kMids,
    .roi_alignment = {.x_and_width = 32},
    .line_scan = true,
    .line_timing = microsecond_timing,
    .write_exposure = regardless<write_value<kMicrosecondExposure>>,
    .write_gain = regardless<write_microsecond_gain>,
    .write_loop_exposure = write_value<kMicrosecondExposure>,
    .write_loop_gain = write_microsecond_gain,
    .switch_trigger = switch_microsecond_trigger,
};

}  // namespace kxcam

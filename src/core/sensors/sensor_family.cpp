// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/sensor_family.h"

#include <algorithm>
#include <array>

namespace kxcam {

// Each of these stands in a file of its name in sensors/.
extern const SensorFamily sensor_0030;
extern const SensorFamily sensor_0120;
extern const SensorFamily sensor_0130;
extern const SensorFamily sensor_0180;
extern const SensorFamily sensor_0200;
extern const SensorFamily sensor_0300;
extern const SensorFamily sensor_0400;
extern const SensorFamily sensor_0410;
extern const SensorFamily sensor_0500;
extern const SensorFamily sensor_0510;
extern const SensorFamily sensor_0600;
extern const SensorFamily sensor_0680;
extern const SensorFamily sensor_0860;
extern const SensorFamily sensor_0910;
extern const SensorFamily sensor_0920;
extern const SensorFamily sensor_0A00;
extern const SensorFamily sensor_0A30;
extern const SensorFamily sensor_0B20;
extern const SensorFamily sensor_0C30;
extern const SensorFamily sensor_0DC0;
extern const SensorFamily sensor_0E00;
extern const SensorFamily sensor_0E60;
extern const SensorFamily sensor_0E70;
extern const SensorFamily sensor_3130;
extern const SensorFamily sensor_3200;

namespace {

constexpr std::array families = {
    &sensor_0030, &sensor_0120, &sensor_0130, &sensor_0180, &sensor_0200, &sensor_0300, &sensor_0400,
    &sensor_0410, &sensor_0500, &sensor_0510, &sensor_0600, &sensor_0680, &sensor_0860, &sensor_0910,
    &sensor_0920, &sensor_0A00, &sensor_0A30, &sensor_0B20, &sensor_0C30, &sensor_0DC0, &sensor_0E00,
    &sensor_0E60, &sensor_0E70, &sensor_3130, &sensor_3200,
};

constexpr SensorFamily other_sensor{};

}  // namespace

const SensorFamily& find_sensor_family(uint32_t mid) {
  const auto family = std::ranges::find_if(
      families, [mid](const SensorFamily* f) { return std::ranges::find(f->mids, mid) != f->mids.end(); });
  return family == families.end() ? other_sensor : **family;
}

}  // namespace kxcam

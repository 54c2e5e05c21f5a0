// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/sensor_family.h"

#include <algorithm>
#include <array>

namespace kxcam {

// Each of these stands at the end of its file in this folder.
extern const SensorGeneration bridge_shutter_sensors;
extern const SensorGeneration frame_shutter_sensors;
extern const SensorGeneration microsecond_sensors;
extern const SensorGeneration snapshot_sensors;
extern const SensorGeneration streaming_bit_sensors;
extern const SensorGeneration update_hold_sensors;
extern const SensorGeneration sensors_0030;
extern const SensorGeneration sensors_0E60;
extern const SensorGeneration sensors_3130;

namespace {

constexpr std::array kGenerations = {
    &bridge_shutter_sensors, &frame_shutter_sensors, &microsecond_sensors,
    &snapshot_sensors,       &streaming_bit_sensors, &update_hold_sensors,
    &sensors_0030,           &sensors_0E60,          &sensors_3130,
};

constexpr SensorFamily kOtherSensor{};

}  // namespace

const SensorFamily& find_sensor_family(uint32_t mid) {
  for (const SensorGeneration* generation : kGenerations) {
    for (const SensorFamily& family : *generation) {
      if (std::ranges::find(family.mids, mid) != family.mids.end()) return family;
    }
  }
  return kOtherSensor;
}

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#include "doctor/checks.h"

namespace kxcam::doctor {
namespace {

void examine_camera(const CameraFacts& camera, const Facts& facts, const DeviceList& list,
                    Findings& findings) {
  check_model(camera, findings);
  check_listed(camera, facts.configuration, list, findings);
  check_permission(camera, facts, findings);
  check_use(camera, facts, findings);
  check_speed(camera, facts, findings);
  check_power(camera, facts, findings);
}

}  // namespace

Findings examine(const Facts& facts) {
  Findings findings;
  check_configuration(facts, findings);
  check_device_files(facts, findings);
  check_bus(facts, findings);
  check_memory(facts, findings);
  const DeviceList list = read_device_list(facts.configuration.text);
  for (const auto& camera : facts.cameras) examine_camera(camera, facts, list, findings);
  return findings;
}

}  // namespace kxcam::doctor

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "doctor/device_list.h"
#include "doctor/facts.h"
#include "doctor/finding.h"

namespace kxcam::doctor {

inline constexpr uint16_t kCameraVendor = 0xA7B7;
/// Product id of a device that tells its own only when asked.
inline constexpr uint16_t kGenericProduct = 0x3FF0;

/// Everything there is to say, first about the machine, then camera by camera. A function of the facts alone.
Findings examine(const Facts& facts);

// What examine() consists of. Each adds one finding, or none where its question makes no sense.

void check_configuration(const Facts& facts, Findings& findings);
void check_bus(const Facts& facts, Findings& findings);
void check_device_files(const Facts& facts, Findings& findings);
void check_memory(const Facts& facts, Findings& findings);

void check_model(const CameraFacts& camera, Findings& findings);
void check_listed(const CameraFacts& camera, const Configuration& configuration, const DeviceList& list,
                  Findings& findings);
void check_permission(const CameraFacts& camera, const Facts& facts, Findings& findings);
void check_use(const CameraFacts& camera, const Facts& facts, Findings& findings);
void check_speed(const CameraFacts& camera, const Facts& facts, Findings& findings);
void check_power(const CameraFacts& camera, const Facts& facts, Findings& findings);

/// Row of the model table, asking the device's own answer where its id is the generic one.
int model_row(const CameraFacts& camera);

/// "a7b7:3500".
std::string usb_id(const CameraFacts& camera);

}  // namespace kxcam::doctor

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "doctor/facts.h"
#include "doctor/finding.h"

namespace kxcam {
struct ConfigFile;
}

namespace kxcam::doctor {

/// Everything there is to say, first about the machine, then camera by camera. A function of the facts alone.
Findings examine(const Facts& facts);

/// Why the camera at `port` cannot be used, or any camera where that is "": the first finding that prevents
/// it. Nothing when nothing does.
std::optional<Finding> find_obstacle(const Facts& facts, const std::string& port);

// What examine() consists of. Each adds one finding, or none where its question makes no sense.

void check_configuration(const Facts& facts, Findings& findings);
void check_bus(const Facts& facts, Findings& findings);
void check_device_files(const Facts& facts, Findings& findings);
void check_memory(const Facts& facts, Findings& findings);

void check_model(const CameraFacts& camera, Findings& findings);
void check_listed(const CameraFacts& camera, const Configuration& configuration, const ConfigFile& list,
                  Findings& findings);
void check_permission(const CameraFacts& camera, const Facts& facts, Findings& findings);
void check_use(const CameraFacts& camera, const Facts& facts, Findings& findings);
void check_speed(const CameraFacts& camera, const Facts& facts, Findings& findings);
void check_power(const CameraFacts& camera, const Facts& facts, Findings& findings);

/// Row of the model table, by the device's own answer where its id is the generic one.
int model_row(const CameraFacts& camera);

/// "a7b7:3500".
std::string usb_id(const CameraFacts& camera);

}  // namespace kxcam::doctor

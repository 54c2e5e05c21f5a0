// SPDX-License-Identifier: Apache-2.0

// Which camera it is, and whether the library may open such a one.

#include <fmt/format.h>

#include "configuration.h"
#include "core/registry/model_table.h"
#include "doctor/checks.h"

namespace kxcam::doctor {

int model_row(const CameraFacts& camera) {
  const bool asked = camera.usb && camera.usb->true_product;
  return find_model(asked ? *camera.usb->true_product : camera.product_id);
}

std::string usb_id(const CameraFacts& camera) {
  return fmt::format("{:04x}:{:04x}", kCameraVendor, camera.product_id);
}

void check_model(const CameraFacts& camera, Findings& findings) {
  const std::string check = "model";
  const bool generic = camera.product_id == kGenericProduct;
  const bool asked = camera.usb && camera.usb->open == 0;
  const int row = model_row(camera);
  if (row != kUnknownModel) {
    findings.push_back({Severity::kOk, check, camera.port, model_table[static_cast<std::size_t>(row)].MODEL});
  } else if (generic && !asked) {
    return;  // why it could not be asked is another check's finding
  } else if (generic && !camera.usb->true_product) {
    findings.push_back(
        {Severity::kProblem, check, camera.port,
         "the camera does not report its model: the firmware of its bridge is not running",
         "Disconnect it from all power for ten seconds, then plug it straight into the machine. If that\n"
         "does not help, the manufacturer has to restore its firmware.",
         ExitCode::kFailure});
  } else {
    findings.push_back({Severity::kProblem, check, camera.port,
                        "a model that this version of the library does not know",
                        "A newer version may know it.", ExitCode::kFailure});
  }
}

void check_listed(const CameraFacts& camera, const Configuration& configuration, const ConfigFile& list,
                  Findings& findings) {
  if (configuration.error != 0 || list.bad_line != 0) return;
  const std::string check = "listed";
  if (lists_camera(list, camera.product_id)) {
    findings.push_back({Severity::kOk, check, camera.port, "listed in the configuration file"});
    return;
  }
  findings.push_back({Severity::kProblem, check, camera.port,
                      fmt::format("{} does not list {}, so the library does not open it", configuration.path,
                                  usb_id(camera)),
                      fmt::format("Add the row \"{:04x} {:04x} camera\" between <VPD> and </VPD>.",
                                  kCameraVendor, camera.product_id),
                      ExitCode::kNoCamera});
}

}  // namespace kxcam::doctor

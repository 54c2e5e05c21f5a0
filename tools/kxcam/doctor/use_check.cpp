// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <libusb.h>

#include "doctor/checks.h"

namespace kxcam::doctor {
namespace {

bool has_foreign_driver(const CameraFacts& camera) {
  return !camera.kernel_driver.empty() && camera.kernel_driver != "usbfs";
}

bool is_claimed(const CameraFacts& camera) {
  const bool refused = camera.usb && camera.usb->claim == LIBUSB_ERROR_BUSY;
  return refused || camera.kernel_driver == "usbfs";
}

std::string names(const std::vector<Holder>& holders) {
  std::string text;
  for (const auto& [pid, program] : holders) {
    text += fmt::format("{}{} (process {})", text.empty() ? "" : ", ", program, pid);
  }
  return text;
}

Finding claimed(const CameraFacts& camera, bool root) {
  if (!camera.holders.empty()) {
    return {Severity::kProblem,
            "use",
            camera.port,
            fmt::format("in use by another program: {}", names(camera.holders)),
            "Only one program at a time can use a camera: close that one.",
            ExitCode::kInUse};
  }
  return {
      Severity::kProblem,
      "use",
      camera.port,
      "in use by another program, which is not visible from here",
      root ? "It runs outside this container, or in a virtual machine to which the camera is passed through."
           : "`sudo kxcam doctor` shows the programs of other users too.",
      ExitCode::kInUse};
}

}  // namespace

void check_use(const CameraFacts& camera, const Facts& facts, Findings& findings) {
  if (has_foreign_driver(camera)) {
    findings.push_back({Severity::kProblem, "use", camera.port,
                        fmt::format("in use by the kernel driver {}", camera.kernel_driver),
                        fmt::format("echo {}:1.0 | sudo tee /sys/bus/usb/drivers/{}/unbind\n"
                                    "releases it until the camera is plugged in again.",
                                    camera.port, camera.kernel_driver),
                        ExitCode::kInUse});
  } else if (is_claimed(camera)) {
    findings.push_back(claimed(camera, facts.root));
  } else if (camera.usb && camera.usb->open == 0 && camera.usb->claim != 0) {
    findings.push_back(
        {Severity::kProblem, "use", camera.port,
         fmt::format("its interface cannot be claimed: {}", libusb_error_name(camera.usb->claim)),
         "Plug the camera in again; `sudo dmesg | tail` shows what the kernel reports.", ExitCode::kFailure});
  } else if (camera.usb && camera.usb->open == 0) {
    findings.push_back({Severity::kOk, "use", camera.port, "no other program uses it"});
  }
}

}  // namespace kxcam::doctor

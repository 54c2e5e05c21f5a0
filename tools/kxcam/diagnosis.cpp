// SPDX-License-Identifier: Apache-2.0
#include "diagnosis.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>

#include <fmt/format.h>

#include <kxcam/kxcam.h>

#include "configuration.h"

namespace kxcam {
namespace {

Error no_access_error(const BusDevice& device) {
  const std::string cause =
      fmt::format("camera a7b7:{} may not be opened: {}: {}", device.product_id, device.node.string(),
                  std::generic_category().message(device.access_error));
  if (device.access_error == ENOENT) {
    return {ExitCode::kNoPermission, cause,
            "The kernel has the camera but its device node is missing. Give a container the folder\n"
            "/dev/bus/usb; elsewhere udev has to make the node."};
  }
  return {
      ExitCode::kNoPermission, cause,
      "The udev rule 70-kxcam.rules, which comes with the package libkxcam1, lets everyone at the machine\n"
      "use it; over ssh or in a service the user also has to be in the group plugdev. A camera that was\n"
      "there before the rule has to be plugged in again. `kxcam doctor` shows which of these is missing."};
}

std::string usbfs_memory_limit() {
  std::string megabytes;
  std::ifstream("/sys/module/usbcore/parameters/usbfs_memory_mb") >> megabytes;
  return megabytes.empty() ? "" : fmt::format(" (now {})", megabytes);
}

}  // namespace

int library_error() {
  int code = 0;
  CameraGetLastError(&code);
  return code;
}

std::string error_text(int code) {
  switch (code) {
    case KXCAM_ERROR_INDEX:
      return "camera index out of range";
    case KXCAM_ERROR_ARGUMENT:
      return "value out of range";
    case KXCAM_ERROR_NOT_OPEN:
      return "camera not open";
    case KXCAM_ERROR_NO_DEVICE:
      return "device not open or not found";
    case KXCAM_ERROR_EMPTY_BUS:
      return "no device on the bus";
    case KXCAM_ERROR_IN_USE:
      return "camera index in use";
    case KXCAM_ERROR_NOT_SUPPORTED:
      return "not supported by this camera";
    case KXCAM_ERROR_READ_REQUEST:
      return "read request failed";
    case KXCAM_ERROR_WRITE_REQUEST:
      return "write request failed";
    case KXCAM_ERROR_FRAME_SIZE:
      return "empty frame";
    case KXCAM_ERROR_NO_FRAME:
      return "no frame in time";
    default:
      return fmt::format("error {}", code);
  }
}

Error no_camera_error(const std::vector<BusDevice>& bus) {
  const auto locked = std::ranges::find_if(bus, [](const auto& device) { return device.access_error != 0; });
  if (locked != bus.end()) return no_access_error(*locked);
  if (!bus.empty()) {
    return {ExitCode::kNoCamera,
            fmt::format("camera a7b7:{} is attached, but {} does not list it", bus.front().product_id,
                        configuration_file()),
            configuration_row_to_add(bus.front().product_id)};
  }
  return {ExitCode::kNoCamera, "no camera found",
          fmt::format("Check cable and power; `lsusb -d a7b7:` lists the attached cameras. The camera's\n"
                      "product id has to be in {}, and its device node has to be accessible.\n"
                      "`kxcam doctor` goes through all of it.",
                      configuration_file())};
}

Error no_such_index_error(int index, const std::vector<AttachedCamera>& cameras) {
  std::string present;
  for (const auto& camera : cameras) {
    present += fmt::format("\n    {}  {}  {}", camera.index, camera.name, camera.serial);
  }
  return {ExitCode::kNoCamera, fmt::format("there is no camera {}", index), "Attached:" + present};
}

Error unknown_model_error(const AttachedCamera& camera) {
  return {ExitCode::kFailure,
          fmt::format("camera {} (a7b7:{:04x}) is of a model that this version of kxcam does not know",
                      camera.index, camera.product_id),
          "A newer version may know it."};
}

Error in_use_error(int index) {
  return {ExitCode::kInUse, fmt::format("camera {} is in use by another program", index),
          "Close that program; `kxcam doctor`, as root if need be, shows which it is."};
}

Error open_error(int index, int code) {
  if (code == KXCAM_ERROR_IN_USE) return in_use_error(index);
  if (code == KXCAM_ERROR_NO_DEVICE || code == KXCAM_ERROR_EMPTY_BUS) {
    return {ExitCode::kNoCamera, fmt::format("camera {} could not be opened: {}", index, error_text(code)),
            "It went away meanwhile. Check the cable and try again."};
  }
  return camera_error(index, "opening", code);
}

Error camera_error(int index, const std::string& action, int code) {
  const std::string cause = fmt::format("camera {}: {} failed: {}", index, action, error_text(code));
  if (code == KXCAM_ERROR_ARGUMENT) {
    return {ExitCode::kUsage, cause, fmt::format("`kxcam info -c {}` shows what the camera offers.", index)};
  }
  return {ExitCode::kFailure, cause};
}

Error no_frame_error(int index, int milliseconds) {
  return {ExitCode::kNoFrame, fmt::format("camera {} delivered no frame within {} ms", index, milliseconds),
          fmt::format("The camera answers, but its pictures do not arrive. Likely causes:\n"
                      "  - it waits for a trigger (raise --timeout, or trigger it)\n"
                      "  - the computer is busy and the frames came too late (raise --timeout)\n"
                      "  - a transfer failed and the camera was reset (`kxcam stream --reconnect` goes on)\n"
                      "  - the exposure is longer than the time-out (raise --timeout)\n"
                      "  - another program uses the camera\n"
                      "  - a bad cable, or too many devices on one bus (try another port)\n"
                      "  - the kernel's limit for USB buffers, which all cameras share{}: several large\n"
                      "    cameras need more in /sys/module/usbcore/parameters/usbfs_memory_mb",
                      usbfs_memory_limit())};
}

Error camera_gone_error(int index) {
  return {ExitCode::kFailure, fmt::format("camera {} does not answer any more", index),
          "Check the cable and the power, plug the camera in again and repeat the command."};
}

bool all_claimed(const std::vector<BusDevice>& bus) {
  return !bus.empty() && std::ranges::all_of(bus, &BusDevice::claimed);
}

}  // namespace kxcam

// SPDX-License-Identifier: Apache-2.0
#include "diagnosis.h"

#include <fstream>

#include <fmt/format.h>

#include <kxcam/kxcam.h>

namespace kxcam {
namespace {

std::string usbfs_memory_limit() {
  std::string megabytes;
  std::ifstream("/sys/module/usbcore/parameters/usbfs_memory_mb") >> megabytes;
  return megabytes.empty() ? "" : fmt::format(" (now {} MB)", megabytes);
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

Error open_error(int index, int code) {
  if (code == KXCAM_ERROR_NO_DEVICE || code == KXCAM_ERROR_EMPTY_BUS) {
    return {ExitCode::kNoCamera, fmt::format("camera {} could not be opened: {}", index, error_text(code)),
            "It went away while it was being opened. Check the cable and try again."};
  }
  return camera_error(index, "opening", code);
}

Error camera_error(int index, const std::string& action, int code) {
  const std::string cause = fmt::format("camera {}: {} failed: {}", index, action, error_text(code));
  if (code == KXCAM_ERROR_ARGUMENT) {
    return {
        ExitCode::kUsage, cause,
        fmt::format("`kxcam info -c {0}` and `kxcam controls -c {0}` show what the camera offers.", index)};
  }
  return {ExitCode::kFailure, cause};
}

Error no_frame_error(int index, int milliseconds) {
  return {ExitCode::kNoFrame, fmt::format("camera {} delivered no frame within {} ms", index, milliseconds),
          fmt::format(
              "The camera answers requests, but no pictures arrive. Likely causes:\n"
              "  - it is waiting for a trigger (trigger it, or raise --timeout)\n"
              "  - the computer is too busy (raise --timeout)\n"
              "  - a transfer failed and the camera was reset (run the command again; `kxcam stream` has "
              "--reconnect)\n"
              "  - the exposure is longer than the time-out (raise --timeout)\n"
              "  - a bad cable, or too many devices on the bus (try another port)\n"
              "  - too little memory for USB transfers, which all cameras share{}: several large cameras\n"
              "    need more in /sys/module/usbcore/parameters/usbfs_memory_mb",
              usbfs_memory_limit())};
}

Error camera_gone_error(int index) {
  return {ExitCode::kFailure, fmt::format("camera {} no longer answers", index),
          "Check cable and power, plug the camera in again and repeat the command."};
}

}  // namespace kxcam

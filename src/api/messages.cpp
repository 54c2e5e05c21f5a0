// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>

#include "api/extra_boundary.h"
#include "usb/message.h"

using namespace kxcam;

namespace {

struct Cause {
  int code;
  const char* text;
  const char* remedy;
};

constexpr std::array kCauses = {
    Cause{api::kNoCode, "failed without a cause", ""},
    Cause{0, "no error", ""},
    Cause{KXCAM_ERROR_INDEX, "camera index out of range", ""},
    Cause{KXCAM_ERROR_ARGUMENT, "value out of range", ""},
    Cause{KXCAM_ERROR_NOT_OPEN, "camera not open", ""},
    Cause{KXCAM_ERROR_NO_DEVICE, "device not open or not found",
          "Check cable and power of the camera. One that was open comes back with a reconnect."},
    Cause{KXCAM_ERROR_EMPTY_BUS, "no device on the bus", "Check cable and power of the camera."},
    Cause{KXCAM_ERROR_IN_USE, "camera or camera index in use", "Close it where it is open."},
    Cause{KXCAM_ERROR_NOT_SUPPORTED, "not supported by this camera", ""},
    Cause{KXCAM_ERROR_READ_REQUEST, "read request failed",
          "Check cable and power of the camera, and try again."},
    Cause{KXCAM_ERROR_WRITE_REQUEST, "write request failed",
          "Check cable and power of the camera, and try again."},
    Cause{KXCAM_ERROR_FRAME_SIZE, "empty frame", ""},
    Cause{
        KXCAM_ERROR_NO_FRAME, "no frame in time",
        "The camera may be waiting for a trigger, or expose for longer than the time to wait. If a transfer "
        "failed, the camera was reset and sends again after a reconnect."},
    Cause{KXCAM_ERROR_INTERRUPTED, "interrupted", ""},
    Cause{KXCAM_ERROR_CONFIGURATION, "no configuration file, or a malformed one",
          "Install /etc/kxusb.conf, or name another file in the environment variable KXUSB_CONF."},
    Cause{KXCAM_ERROR_HELD, "another program holds the camera", "Close the camera there."},
    Cause{KXCAM_ERROR_PERMISSION, "no permission to open the camera",
          "Install the udev rule of the package, and plug the camera in again."},
    Cause{KXCAM_ERROR_SYSTEM, "the system has no memory, thread or descriptor to spare",
          "Close other programs, or raise the limits of this one."},
};

const Cause& find_cause(int code) {
  static constexpr Cause kUnknown{0, "unknown error", ""};
  const auto found = std::ranges::find(kCauses, code, &Cause::code);
  return found == kCauses.end() ? kUnknown : *found;
}

}  // namespace

int kxcam_thread_error(void) {
  return thread_error();
}

const char* kxcam_error_text(int code) {
  return find_cause(code).text;
}

const char* kxcam_error_remedy(int code) {
  return find_cause(code).remedy;
}

void kxcam_set_message_handler(void (*handler)(const char* text, void* data), void* data) {
  set_message_handler(handler, data);
}

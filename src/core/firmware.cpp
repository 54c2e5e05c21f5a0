// SPDX-License-Identifier: Apache-2.0
#include "core/firmware.h"

#include "core/contexts.h"
#include "core/last_error.h"
#include "usb/control_channel.h"

namespace kxcam {

namespace {
constexpr uint8_t kFlashWrite = 0xC2;
constexpr uint16_t kFirmwarePage = 0;
constexpr uint16_t kErase = 1;
}  // namespace

bool erase_firmware(int camera) {
  const OpenCamera open = find_open_camera(camera);
  if (!open) return false;
  const ReadLock reading(open->context_lock);
  uint8_t nothing = 0;
  long length = 1;
  return EP0Write(open.handle.get(), kFlashWrite, kFirmwarePage, kErase, &nothing, length) ||
         fail(KXCAM_ERROR_WRITE_REQUEST);
}

}  // namespace kxcam

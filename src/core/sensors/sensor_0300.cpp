// SPDX-License-Identifier: Apache-2.0
#include "core/sensor_family.h"
#include "usb/control_channel.h"

namespace kxcam {

namespace {

constexpr uint32_t kMids[] = {0x0300};

constexpr uint32_t kSoftReset = 0x0D;
constexpr uint32_t kReadMode = 0x0A;
constexpr int32_t kFirmwareThatSetsReadMode = 0x4608;

void wake_sensor(libusb_device_handle* handle, int32_t firmware_version) {
  sccb_write_raw(handle, kSoftReset, 1);
  sccb_write_raw(handle, kSoftReset, 0);
  if (firmware_version < kFirmwareThatSetsReadMode) {
    sccb_write_raw(handle, kReadMode, 0x8000);
    long no_data = 0;
    EP0Write(handle, 0xA1, 0, 0, nullptr, no_data);
  }
}

}  // namespace

extern const SensorFamily sensor_0300{
    .mids = kMids,
    .wake_sensor = wake_sensor,
};

}  // namespace kxcam

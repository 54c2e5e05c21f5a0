// SPDX-License-Identifier: Apache-2.0
#include "core/sensors/bridge_shutter.h"

#include "usb/control_channel.h"

namespace kxcam {

namespace {

enum BridgeRegister : uint32_t {
  kShutterLow = 0x0A,
  kShutterHigh = 0x0B,
};

struct Written {
  bool low;
  bool high;
};

Written write_both(CameraContext& camera, int32_t lines) {
  const uint32_t time = static_cast<uint32_t>(lines) * 10;
  const bool low = isp_write(camera, kShutterLow, time & 0xFFFF);
  const bool high = isp_write(camera, kShutterHigh, time >> 16);
  return {low, high};
}

}  // namespace

bool set_bridge_shutter(CameraContext& camera, int32_t lines) {
  return write_both(camera, lines).low;
}

bool write_bridge_shutter(CameraContext& camera, int32_t lines) {
  const Written written = write_both(camera, lines);
  return written.low && written.high;
}

}  // namespace kxcam

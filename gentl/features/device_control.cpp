// SPDX-License-Identifier: Apache-2.0
#include "features/feature_table.h"
#include "version.h"

namespace kxcam::gentl {

namespace {

constexpr const char* kDeviceControl = "DeviceControl";

}  // namespace

void add_device_control(FeatureTable& table) {
  Camera& camera = table.camera();
  const kxcam_description& is = camera.description();
  table.add({.name = "DeviceType",
             .kind = Feature::Kind::kChoice,
             .category = kDeviceControl,
             .tooltip = "What the device does with pictures",
             .visibility = Feature::Visibility::kGuru,
             .choices = {{"Transmitter", 0}},
             .get = [] { return Value(int64_t{0}); }});
  table.add(fixed_text("DeviceVendorName", kDeviceControl, "Maker of the driver", kVendorText));
  table.add(fixed_text("DeviceModelName", kDeviceControl, "Model of the camera", is.model));
  table.add(fixed_text("DeviceSerialNumber", kDeviceControl, "Serial number of the camera", is.serial));
  table.add(fixed_text("DeviceFirmwareVersion", kDeviceControl, "Firmware of the camera",
                       std::to_string(is.firmware)));
  table.add(fixed_text("DeviceVersion", kDeviceControl, "Version of the driver", kVersionText));
  constexpr int kBitsOfByte = 8;
  constexpr int64_t kMega = 1'000'000;
  table.add(fixed_number("DeviceLinkSpeed", kDeviceControl, "Speed of the USB connection",
                         is.usb_speed * kMega / kBitsOfByte, "Bps"));
  table.add(fixed_number("DeviceSFNCVersionMajor", kDeviceControl, "Version of the naming convention", 2));
  table.add(fixed_number("DeviceSFNCVersionMinor", kDeviceControl, "Version of the naming convention", 4));
  table.add(fixed_number("DeviceSFNCVersionSubMinor", kDeviceControl, "Version of the naming convention", 0));
  table.add({.name = "DeviceReset",
             .kind = Feature::Kind::kCommand,
             .category = kDeviceControl,
             .tooltip =
                 "Takes the camera again after it was unplugged or has gone silent, with all its settings; "
                 "pictures go on",
             .visibility = Feature::Visibility::kGuru,
             .set = [&camera](const Value&) { camera.reconnect(); }});
}

}  // namespace kxcam::gentl

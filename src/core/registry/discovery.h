// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/registry/camera_context.h"

namespace kxcam {

/// One look at the bus, with every configured device open. A device stays open beyond it for whoever
/// keeps its handle. The transport's device table is process-wide: a second Enumeration, in another
/// thread, waits for the first to end.
class Enumeration {
 public:
  Enumeration();

  /// Number of devices, or the negative code of kxusb_open().
  int result() const { return result_; }

  /// The open devices; the place in the vector is the device number.
  const std::vector<DeviceHandle>& devices() const { return devices_; }

 private:
  std::unique_lock<std::mutex> exclusive_;
  int result_;
  std::vector<DeviceHandle> devices_;
};

inline constexpr uint16_t kCameraVendor = 0xA7B7;
/// Product id of a bridge that does not show its camera's; the camera is asked for it.
inline constexpr uint16_t kGenericProduct = 0x3FF0;

inline constexpr int kApiMajor = 2019;
inline constexpr int kApiMinor = 1013;

void get_api_version(int* major, int* minor);

/// Firmware version word of an open camera.
bool get_firm_version(const CameraContext& camera, int* version);

/// Attached cameras; 0 also when the bus cannot be looked at.
int get_camera_count();

/// Device number of the camera with that serial number, or -1 (EMPTY_BUS when there is nothing on the bus).
/// Device numbers count every configured device, camera or not.
int get_camera_idx(const char* serial);

UsbPort port_of(libusb_device* device);
/// "1-2.3", as the system names it.
std::string port_name(const UsbPort& port);

bool is_camera(libusb_device_handle* handle);
/// The product id that tells the model; nothing when the camera does not answer.
std::optional<uint16_t> true_product(libusb_device_handle* handle);
SerialRecord read_serial(libusb_device_handle* handle);
/// A serial number without the blanks at its end.
std::string_view trimmed(std::string_view serial);

/// The device that an open camera without one takes: of those with its serial number and model the one at
/// its port, or else the first that is neither open nor where another open camera of that number lost its
/// own. Null when there is none.
DeviceHandle find_device_of(const CameraContext& camera, const Enumeration& bus);

/// Identity of the camera at that position on the bus, read from the camera itself; outputs may be null.
///
/// `serial` receives 16 bytes, `name` "NAME(INDEX)" in up to 36 bytes (empty for an unknown model),
/// `model_row` kUnknownModel when no model has the product id. Returns the device number, or -1
/// with INDEX or EMPTY_BUS, or no code when the bus cannot be looked at or the camera is not there. Identity
/// bytes that cannot be read become 0 with READ_REQUEST.
int get_camera_name(int position, char* serial, char* name, int* model_row, int* product_id);

}  // namespace kxcam

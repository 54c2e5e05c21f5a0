// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/flash_tables.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "core/registry/contexts.h"
#include "core/sensors/sensor_family.h"
#include "isp/saturating_cast.h"
#include "usb/bridge.h"
#include "usb/last_error.h"
#include "usb/requests.h"

namespace kxcam {

namespace {

constexpr uint16_t kErase = 1;
constexpr uint16_t kFirmwarePage = 0;

/// Areas that are erased as a whole.
constexpr uint16_t kFixedPatternArea = 4;
constexpr uint16_t kUserLutArea = 6;

constexpr int kEvenColumnsPage = 0x400;
constexpr int kOddColumnsPage = 0x440;
constexpr int kRowsPage = 0x480;
constexpr uint16_t kUserLutPage = 0x600;

constexpr int32_t kFirstFirmwareThatKeepsTables = 0x8310;

void prepare(libusb_device_handle* handle, uint16_t area) {
  long no_data = 0;
  EP0Write(handle, bridge::kFlashPrepare, area, kErase, nullptr, no_data);
}

void write_table(libusb_device_handle* handle, int page, std::span<const double> table) {
  std::vector<uint8_t> bytes;
  for (const double entry : table) {
    const auto raw = static_cast<uint16_t>(saturating_cast<int16_t>(entry * 10000));
    bytes.push_back(static_cast<uint8_t>(raw));
    bytes.push_back(static_cast<uint8_t>(raw >> 8));
  }
  WirteSPI(handle, page, bytes.data(), static_cast<long>(bytes.size()));
}

std::vector<double> read_table(libusb_device_handle* handle, int page, size_t entries) {
  std::vector<uint8_t> bytes(2 * entries);
  ReadSPI(handle, page, bytes.data(), static_cast<long>(bytes.size()));
  std::vector<double> table(entries);
  for (size_t i = 0; i < entries; ++i) {
    table[i] = static_cast<int16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8) * 0.0001;
  }
  return table;
}

}  // namespace

bool keeps_fixed_pattern(const CameraContext& camera) {
  const bool bridge_does = (camera.family.mono_keeps_fixed_pattern && camera.model().monochrome()) ||
                           camera.device.firmware_version >= kFirstFirmwareThatKeepsTables;
  return bridge_does && !camera.picture.flat_field.load()->row_table().empty();
}

void write_fixed_pattern(const CameraContext& camera, libusb_device_handle* handle) {
  const auto field = camera.picture.flat_field.load();
  prepare(handle, kFixedPatternArea);
  write_table(handle, kEvenColumnsPage, field->column_table_a());
  write_table(handle, kOddColumnsPage, field->column_table_b());
  write_table(handle, kRowsPage, field->row_table());
}

void read_fixed_pattern(CameraContext& camera, libusb_device_handle* handle) {
  const auto columns = camera.picture.flat_field.load()->column_table_a().size();
  const auto rows = camera.picture.flat_field.load()->row_table().size();
  const std::vector<double> even_columns = read_table(handle, kEvenColumnsPage, columns);
  const std::vector<double> odd_columns = read_table(handle, kOddColumnsPage, columns);
  const std::vector<double> row_table = read_table(handle, kRowsPage, rows);
  camera.picture.flat_field.update([&](FlatField& field) {
    field.set_columns(even_columns, odd_columns);
    field.set_rows(row_table);
  });
}

void write_user_lut(const CameraContext& camera, libusb_device_handle* handle) {
  UserLut lut = *camera.picture.user_lut.load();
  long length = static_cast<long>(lut.size());
  prepare(handle, kUserLutArea);
  EP0Write(handle, bridge::kFlashWrite, kUserLutPage, 0, lut.data(), length);
}

void read_user_lut(CameraContext& camera, libusb_device_handle* handle) {
  UserLut read{};
  long length = static_cast<long>(read.size());
  if (!EP0Read(handle, bridge::kFlashRead, kUserLutPage, 0, read.data(), length)) return;
  camera.picture.user_lut.update([&](UserLut& lut) { std::copy_n(read.begin(), length, lut.begin()); });
}

bool erase_firmware(const CameraContext& camera) {
  const DeviceHandle handle = find_device(camera);
  if (handle == nullptr) return false;
  uint8_t nothing = 0;
  long length = 1;
  return EP0Write(handle.get(), bridge::kFlashWrite, kFirmwarePage, kErase, &nothing, length) ||
         fail(KXCAM_ERROR_WRITE_REQUEST);
}

}  // namespace kxcam

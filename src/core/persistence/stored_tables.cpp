// SPDX-License-Identifier: Apache-2.0
#include "core/persistence/stored_tables.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "core/control/registers.h"
#include "core/sensors/sensor_family.h"
#include "isp/saturating_cast.h"
#include "usb/bridge.h"
#include "usb/last_error.h"
#include "usb/requests.h"

namespace kxcam {

namespace {

uint32_t address_of(size_t word) {
  return kDeadPixelAddress + 2 * static_cast<uint32_t>(word);
}

bool write_byte(CameraContext& camera, uint32_t address, uint32_t value) {
  return eeprom_write(camera, address, static_cast<uint8_t>(value));
}

/// A failed low byte is noticed with the next word.
bool write_words(CameraContext& camera, const uint32_t* words, size_t count) {
  bool written = true;
  for (size_t k = 0; k < count; ++k) {
    written = write_byte(camera, address_of(k), words[k] >> 8) && written;
    if (!written) return false;
    written = write_byte(camera, address_of(k) + 1, words[k]);
  }
  return true;
}

std::optional<uint16_t> read_word(CameraContext& camera, size_t word) {
  const auto high = eeprom_read(camera, address_of(word));
  if (!high) return std::nullopt;
  const auto low = eeprom_read(camera, address_of(word) + 1);
  if (!low) return std::nullopt;
  return static_cast<uint16_t>(*high << 8 | *low);
}

/// Pixel `i` of the block.
std::optional<DeadPixel> read_pixel(CameraContext& camera, size_t i) {
  const auto x = read_word(camera, 2 * i + 1);
  const auto y = read_word(camera, 2 * i + 2);
  if (!x || !y) return std::nullopt;
  return DeadPixel{*x, *y};
}

void put_in_force(CameraContext& camera, const DeadPixelList& list) {
  camera.picture.dead_pixels.store(std::make_shared<const DeadPixelList>(list));
}

void copy_out(const DeadPixelList& from, uint32_t* list) {
  *list++ = from.dead_pixel_count;
  for (const DeadPixel& pixel : from.listed()) {
    *list++ = pixel.x;
    *list++ = pixel.y;
  }
}

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

bool save_deadpixel(CameraContext& camera, const uint32_t* list) {
  if (list[0] > kMaxDeadPixels) return fail(KXCAM_ERROR_ARGUMENT);
  DeadPixelList saved;
  saved.dead_pixel_count = static_cast<uint16_t>(list[0]);
  for (size_t i = 0; i < saved.dead_pixel_count; ++i) {
    saved.dead_pixels[i] = {static_cast<uint16_t>(list[2 * i + 1]), static_cast<uint16_t>(list[2 * i + 2])};
  }
  if (!write_words(camera, list, 2 * size_t{saved.dead_pixel_count} + 1)) return false;
  put_in_force(camera, saved);
  return true;
}

bool load_deadpixel(CameraContext& camera, uint32_t* list) {
  const auto count = read_word(camera, 0);
  if (!count) return false;
  if (*count > kMaxDeadPixels) {
    put_in_force(camera, {});
    return true;
  }
  DeadPixelList loaded;
  loaded.dead_pixel_count = *count;
  bool complete = true;
  for (size_t i = 0; i < loaded.dead_pixel_count; ++i) {
    const auto pixel = read_pixel(camera, i);
    complete = complete && pixel.has_value();
    loaded.dead_pixels[i] = pixel.value_or(DeadPixel{});
  }
  put_in_force(camera, loaded);
  if (list != nullptr) copy_out(loaded, list);
  return complete;
}

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
